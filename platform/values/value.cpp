#include <values/value.h>

#include <values/command.h>
#include <values/utf8.h>

#include <startup/tracesource.h>

#include <vector>

namespace values {

namespace {

enum eTracePoint : int { eTransactionLost = 1 };
constexpr Startup::TraceSource kTrace("platform/values/value", Startup::eTraceError);

} // namespace

struct ValueBase::Recording
{
    ICommandRecorder* recorder = nullptr;
    int depth = 0;                               ///< open transactions
    std::vector<std::unique_ptr<Command>> group; ///< what they have recorded
};

ValueBase::ValueBase(const QString& name, TValueState state) : TreeItem(name, state) {}

ValueBase::ValueBase(const ValueBase& other) : TreeItem(other.GetName(), other.GetState()) {}

ValueBase::~ValueBase() = default;

void ValueBase::Announce(TChangeCode code, IObserver* originator)
{
    tell(Tree::Event::Announcement, code, originator);
}

void ValueBase::Changed(TChangeCode code, IObserver* originator)
{
    tell(Tree::Event::Change, code, originator);
}

void ValueBase::Ordered(bool isNew, IObserver* originator)
{
    tell(isNew ? Tree::Event::Order : Tree::Event::RepeatedOrder, eChangeValue, originator);
}

void ValueBase::tell(Tree::Event event, TChangeCode code, IObserver* originator)
{
    if (IsDeleted())
        return;
    if (Tree* const tree = GetTree())
        tree->changed(*this, event, code, originator);
    else
        Notify(code, originator);
}

bool ValueBase::operator==(const ValueBase& other) const
{
    return GetType() == other.GetType() && GetState() == other.GetState();
}

ValueBase::Recording& ValueBase::recording()
{
    if (!m_recording)
        m_recording = std::make_unique<Recording>();
    return *m_recording;
}

bool ValueBase::InstallRecorder(ICommandRecorder* recorder)
{
    if (!recorder || (m_recording && m_recording->recorder && m_recording->recorder != recorder))
        return false;
    recording().recorder = recorder;
    return true;
}

void ValueBase::RemoveRecorder(const ICommandRecorder* recorder)
{
    if (!m_recording || m_recording->recorder != recorder)
        return;
    m_recording->recorder = nullptr;
    m_recording->group.clear();
}

bool ValueBase::Record() const noexcept
{
    return m_recording && m_recording->recorder && !IsDeleted();
}

void ValueBase::RecordCommand(Command* command)
{
    std::unique_ptr<Command> owned(command);
    if (!owned || !Record())
        return;
    if (m_recording->depth > 0)
        m_recording->group.push_back(std::move(owned));
    else
        m_recording->recorder->OnCommand(*this, std::move(owned));
}

ValueBase::Transaction ValueBase::CreateTransaction()
{
    return Transaction(*this);
}

ValueBase::Transaction::Transaction(ValueBase& value) : m_value(&value)
{
    ++value.recording().depth;
}

ValueBase::Transaction::~Transaction()
{
    if (ValueBase* const value = m_value.Get())
        value->endTransaction();
}

void ValueBase::endTransaction() noexcept
{
    if (--m_recording->depth > 0 || m_recording->group.empty())
        return;
    try {
        auto group = std::exchange(m_recording->group, {});
        std::unique_ptr<Command> command = group.size() == 1 ? std::move(group.front()) : nullptr;
        if (!command)
            command = std::make_unique<CommandTransaction>(*this, std::move(group));
        if (Record())
            m_recording->recorder->OnCommand(*this, std::move(command));
    } catch (...) { // only for lack of memory
        kTrace(eTransactionLost, QStringLiteral("The commands of a transaction are lost"));
    }
}

void ValueBase::AnnounceBulkUpdate(IObserver* originator, bool replace, bool difference)
{
    if (Record())
        m_recording->recorder->OnBulkUpdate(*this, originator, replace, difference);
}

void ValueBase::ContentReplaced()
{
    if (!m_recording)
        return;
    m_recording->group.clear();
    if (m_recording->recorder)
        m_recording->recorder->OnContentReplaced(*this);
}

void ValueBase::AddObjectStateStringForTransmission(std::string& out, unsigned int /*flags*/)
{
    AppendValueHeader(out, *this);
}

bool ValueBase::AppendContent(std::string& /*out*/) const
{
    return false;
}

bool ValueBase::ReadContent(ByteReader& /*in*/, IObserver* /*originator*/)
{
    return false;
}

Command* ValueBase::CreateNextCommand(int id, const char** stream, IObserver* originator, int available)
{
    if (id != eCommandTransaction || available < 0)
        return nullptr;
    ByteReader in(*stream, static_cast<std::size_t>(available));
    auto command = CommandTransaction::Read(*this, in, originator);
    if (command)
        *stream = in.Position();
    return command.release();
}

void ValueBase::EraseKeys(const KeyFilter& /*filter*/, IObserver* /*originator*/) {}

void ValueBase::EndRequests(const KeyFilter& /*isStale*/, IObserver* /*originator*/, const QString& /*error*/)
{
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

bool SelectionValue::AppendContent(std::string& out) const
{
    AppendInteger(out, static_cast<qint32>(m_selected));
    AppendInteger(out, static_cast<quint32>(m_items.size()));
    for (auto item = m_items.begin(); item != m_items.end(); ++item) {
        AppendInteger(out, static_cast<qint32>(item.key()));
        AppendShortText(out, item.value());
    }
    return true;
}

bool SelectionValue::ReadContent(ByteReader& in, IObserver* originator)
{
    ByteReader at = in;
    qint32 selected = -1;
    quint32 count = 0;
    if (IsDeleted() || !at.ReadInteger(selected) || !at.ReadInteger(count))
        return false;
    QMap<int, QString> items;
    for (; count > 0; --count) {
        qint32 key = 0;
        QString name;
        if (!at.ReadInteger(key) || !ReadShortText(at, name) || items.contains(key))
            return false;
        items.insert(key, name);
    }
    if (!at.AtEnd())
        return false;
    in = at;
    const bool newItems = m_items != items;
    const bool newSelection = m_selected != selected;
    m_items = items;
    m_selected = selected;
    const Weak<ValueBase> alive(this);
    const Weak<IObserver> origin(originator);
    if (newItems)
        Changed(eChangeContent, originator);
    if (newSelection && alive)
        Changed(eChangeValue, origin.Get());
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
    return value->Order(text, originator);
}

} // namespace values
