#pragma once

#include <values/tree.h>

#include <QHash>
#include <QString>

#include <any>

namespace KoltaConsole {

/// What collections of short-time data had when they went with their servers, until they come back: a copy
/// is made when one goes, and nothing before. The tree must outlive this, on its thread.
class ShortTimeMemory : private values::ITreeListener
{
public:
    explicit ShortTimeMemory(values::Tree& tree);
    ~ShortTimeMemory() override;
    ShortTimeMemory(const ShortTimeMemory&) = delete;
    ShortTimeMemory& operator=(const ShortTimeMemory&) = delete;

    /// Of the collection at that path; null when none has gone from there.
    template<class Map>
    const typename Map::Map* contentOf(const QString& path) const
    {
        const auto found = m_contents.constFind(path);
        return found == m_contents.cend() ? nullptr : std::any_cast<typename Map::Map>(&*found);
    }

private:
    void OnItemAdded(values::TreeItem& item) override;
    void OnItemRemoved(values::TreeItem& item) override;
    void OnItemChanged(values::TreeItem& /*item*/, TChangeCode /*code*/, IObserver* /*originator*/) override
    {
    }
    template<class Map>
    bool keep(const values::TreeItem& item);

    values::Tree& m_tree;
    QHash<QString, std::any> m_contents; ///< by path
};

} // namespace KoltaConsole
