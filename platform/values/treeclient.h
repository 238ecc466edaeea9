#pragma once

#include <values/export.h>

#include <QString>

namespace values {

class ValueBase;

/// A link that brings part of the value tree from another process, known to this process by an alias.
/// Nobody owns it here: it registers while it lives. On the tree's thread.
class KOLTA_VALUES_EXPORT ITreeClient
{
public:
    virtual ~ITreeClient();

    /// Asks for `value` to be transferred in the cheapest way from now on, compressed or as differences for
    /// instance, because it is large and changes often. A link may ignore it.
    virtual void SetOptimization(ValueBase& value) = 0;

    /// The link with that alias; null when there is none.
    static ITreeClient* Find(const QString& alias);

    ITreeClient(const ITreeClient&) = delete;
    ITreeClient& operator=(const ITreeClient&) = delete;

protected:
    /// Of several links with one alias the newest is found.
    explicit ITreeClient(const QString& alias);
};

} // namespace values
