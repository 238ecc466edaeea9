#include "shorttimememory.h"

#include <koltacommon/convertproductionresultmap.h>
#include <koltacommon/shorttimeffpassignmentitemmap.h>
#include <koltacommon/shorttimeprofileitemmap.h>
#include <koltacommon/shorttimeresultitemmap.h>

namespace KoltaConsole {

ShortTimeMemory::ShortTimeMemory(values::Tree& tree) : m_tree(tree)
{
    m_tree.AddListener(this);
}

ShortTimeMemory::~ShortTimeMemory()
{
    m_tree.RemoveListener(this);
}

void ShortTimeMemory::OnItemAdded(values::TreeItem& item)
{
    m_contents.remove(item.GetPath());
}

template<class Map>
bool ShortTimeMemory::keep(const values::TreeItem& item)
{
    const auto* const map = dynamic_cast<const Map*>(&item);
    if (map)
        m_contents.insert(item.GetPath(), map->data());
    return map;
}

void ShortTimeMemory::OnItemRemoved(values::TreeItem& item)
{
    if (!keep<Kolta::ShortTimeProfileItemMap>(item) && !keep<Kolta::ShortTimeFFPAssignmentItemMap>(item) &&
        !keep<Kolta::ShortTimeResultItemMap>(item))
        keep<Kolta::ConvertProductionResultMap>(item);
}

} // namespace KoltaConsole
