#include <values/value.h>

namespace values {

ValueBase::ValueBase(const QString& name, TValueState state) : TreeItem(name, state) {}

void ValueBase::Announce(TChangeCode code, IObserver* originator)
{
    Changed(code, originator);
}

void ValueBase::Changed(TChangeCode code, IObserver* originator)
{
    if (IsDeleted())
        return;
    if (Tree* const tree = GetTree())
        tree->changed(*this, code, originator);
    else
        Notify(code, originator);
}

SelectionValue::SelectionValue(const QMap<int, QString>& items, int selectedKey)
    : m_items(items), m_selected(selectedKey)
{
}

bool SelectionValue::SetItems(const QMap<int, QString>& items, IObserver* originator)
{
    if (IsDeleted() || m_items == items)
        return false;
    m_items = items;
    Changed(eChangeContent, originator);
    return true;
}

bool SelectionValue::SetSelectedKey(int key, IObserver* originator)
{
    if (IsDeleted() || m_selected == key)
        return false;
    m_selected = key;
    Changed(eChangeValue, originator);
    return true;
}

bool SelectionValue::Assign(const ValueBase& other)
{
    const auto* same = dynamic_cast<const SelectionValue*>(&other);
    if (!same)
        return false;
    m_items = same->m_items;
    m_selected = same->m_selected;
    return true;
}

bool SelectionValue::Compare(const ValueBase* other) const
{
    const auto* same = dynamic_cast<const SelectionValue*>(other);
    return same && same->m_items == m_items && same->m_selected == m_selected;
}

void SelectionValue::ClearContent()
{
    m_items.clear();
    m_selected = -1;
}

bool WriteOrAnnounce(const QString& path, const QString& text, IObserver* originator)
{
    auto* const value = Tree::Instance().FindAs<StringValue>(path);
    if (!value || value->IsDeleted())
        return false;
    if (!value->SetValue(text, originator))
        value->Announce(eChangeValue, originator);
    return true;
}

} // namespace values
