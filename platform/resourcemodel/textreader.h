#pragma once

#include <resourcemodel/export.h>
#include <resourcemodel/rgobject.h>

#include <memory>

namespace REPORTGENERATOR {

/// Reads one text after the other into objects of one class, for example an overview each time that it
/// changes.
///
/// The result, errors included, is always that of SetXmlString(). But a record in a list of the object whose
/// text is the same as in the text before, wherever it stands now, is found by comparing memory and is not
/// read again: it is the former record, so that IsSameAs() holds for the two. What a reading costs thus
/// depends on what is different.
///
/// Keeps the text that was read last without an error, and shares the records that it gave. For one thread.
class KOLTA_RESOURCEMODEL_EXPORT TextReader
{
public:
    TextReader();
    ~TextReader();
    TextReader(const TextReader&) = delete;
    TextReader& operator=(const TextReader&) = delete;

    /// Replaces the content of `object` by what `xml` says, and calls Check(). Throws RGException like
    /// SetXmlString().
    void read(const QString& xml, IRGObject& object);
    /// The next text is read whole, and what is kept is released.
    void forget();

    struct Memory; ///< private

private:
    std::unique_ptr<Memory> m_memory;
};

} // namespace REPORTGENERATOR
