#include <distribution/changecollector.h>

#include <distribution/itemtable.h>
#include <distribution/textsearch.h>
#include <distribution/treecontent.h>

#include <values/value.h>
#include <values/wishauthor.h>

#include <algorithm>

namespace distribution {

namespace {

using values::TreeItem;
using values::ValueBase;

/// Calls `call` for a command, or for each part of a transaction.
template<class Call>
void forEachPart(const values::Command& command, const Call& call)
{
    const auto* const all = dynamic_cast<const values::CommandTransaction*>(&command);
    if (!all) {
        call(command);
        return;
    }
    for (const auto& part : all->GetCommands())
        call(*part);
}

IObserver* originatorOf(const values::Command& command)
{
    const auto* const onValue = dynamic_cast<const ValueBase::CommandOnValue*>(&command);
    return onValue ? onValue->GetOriginator() : nullptr;
}

/// The first `depth` levels of a path; empty when it has fewer.
QString topOf(const QString& path, int depth)
{
    int end = 0;
    for (int level = 0; level < depth; ++level) {
        if (end == path.size())
            return QString();
        end = path.indexOf(QLatin1Char('/'), end + 1);
        if (end < 0)
            end = path.size();
    }
    return path.left(end);
}

} // namespace

ChangeRegion::ChangeRegion(ChangeCollector& collector, std::function<void()> changed)
    : m_collector(collector), m_changed(std::move(changed))
{
}

ChangeRegion::~ChangeRegion()
{
    for (const auto& value : m_recorded) {
        if (value)
            value.Get()->RemoveRecorder(this);
    }
    auto& regions = m_collector.m_regions;
    regions.erase(std::remove(regions.begin(), regions.end(), this), regions.end());
    m_collector.index();
}

void ChangeRegion::SetRoots(const QStringList& roots)
{
    if (m_roots == roots)
        return;
    m_roots = roots;
    m_collector.index();
    release();
    for (const Change& change : ContentBelow(m_collector.m_tree, roots)) {
        auto* const value = m_collector.m_tree.FindAs<ValueBase>(change.path);
        if (value && IsCollection(change.type))
            Record(*value);
    }
}

/// What is no longer below the roots may be recorded by another region.
void ChangeRegion::release()
{
    const auto isOutside = [this](const auto& value) {
        if (value && IsAtOrBelow(value.Get()->GetPath(), m_roots))
            return false;
        if (value)
            value.Get()->RemoveRecorder(this);
        return true;
    };
    m_recorded.erase(std::remove_if(m_recorded.begin(), m_recorded.end(), isOutside), m_recorded.end());
}

void ChangeRegion::Record(ValueBase& collection)
{
    if (!collection.InstallRecorder(this))
        return;
    const bool isKnown = std::any_of(m_recorded.begin(), m_recorded.end(),
                                     [&](const auto& value) { return value.Get() == &collection; });
    m_recorded.erase(
        std::remove_if(m_recorded.begin(), m_recorded.end(), [](const auto& value) { return !value; }),
        m_recorded.end());
    if (!isKnown)
        m_recorded.emplace_back(&collection);
}

Changes ChangeRegion::Take()
{
    m_untaken.clear();
    return std::exchange(m_changes, {});
}

const values::PendingChanges& ChangeRegion::Untaken(const QString& path) const
{
    static const values::PendingChanges kNothing;
    const auto found = m_untaken.find(path);
    return found == m_untaken.end() ? kNothing : found->second;
}

const Bytes* ChangeRegion::FindOwnSet(const QString& path, const std::string& key) const
{
    const auto sets = m_ownSets.find(path);
    if (sets == m_ownSets.end())
        return nullptr;
    const auto set = sets->second.find(key);
    return set == sets->second.end() ? nullptr : &set->second;
}

void ChangeRegion::ForgetOwnSet(const QString& path, const std::string& key)
{
    const auto sets = m_ownSets.find(path);
    if (sets != m_ownSets.end())
        sets->second.erase(key);
}

bool ChangeRegion::TakeOwnRequest(const QString& path, const std::string& request, std::string_view command)
{
    const auto requests = m_ownRequests.find(path);
    if (requests == m_ownRequests.end())
        return false;
    const auto own = requests->second.find(request);
    if (own == requests->second.end())
        return false;
    std::vector<Bytes>& made = own->second;
    const auto found = std::find(made.begin(), made.end(), command);
    if (found == made.end())
        return false;
    made.erase(found);
    if (made.empty())
        requests->second.erase(own);
    return true;
}

void ChangeRegion::ForgetOwn(const QString& path, const values::PendingChanges& underWay)
{
    const auto forget = [&path](auto& commands, const auto& isUnderWay) {
        const auto ofPath = commands.find(path);
        if (ofPath == commands.end())
            return;
        for (auto command = ofPath->second.begin(); command != ofPath->second.end();)
            command = isUnderWay(command->first) ? std::next(command) : ofPath->second.erase(command);
        if (ofPath->second.empty())
            commands.erase(ofPath);
    };
    forget(m_ownSets, [&](const std::string& key) { return underWay.ContainsKey(key); });
    forget(m_ownRequests, [&](const std::string& request) { return underWay.ContainsRequest(request); });
}

void ChangeRegion::add(Change change)
{
    m_changes.push_back(std::move(change));
    if (m_changes.size() == 1 && m_changed)
        m_changed();
}

/// What the link has made comes back through the log, if it is the program's at all.
void ChangeRegion::OnCommand(ValueBase& value, std::unique_ptr<values::Command> command)
{
    ++m_commands;
    Bytes parts;
    quint32 count = 0;
    values::CommandScope scope;
    forEachPart(*command, [&](const values::Command& part) {
        const bool own = originatorOf(part) != m_collector.GetLink();
        if (m_makesWishes)
            noteRequests(value.GetPath(), part, own);
        if (!own)
            return;
        part.AddCommandString(parts, values::eTransmitPlain);
        part.AddScope(scope);
        if (m_makesWishes)
            rememberOwnSet(value.GetPath(), part);
        ++count;
    });
    if (count == 0)
        return;
    Bytes commands;
    if (count == 1) {
        commands = std::move(parts);
    } else {
        const values::CommandFrame frame(commands, values::eCommandTransaction, nullptr,
                                         values::eTransmitPlain);
        values::AppendInteger(commands, count);
        commands += parts;
    }
    if (m_makesWishes)
        m_untaken[value.GetPath()].Add(0, scope);
    add(CommandsChange(value.GetPath(), MakeContent(std::move(commands)), std::move(scope)));
}

void ChangeRegion::rememberOwnSet(const QString& path, const values::Command& part)
{
    const auto* const onValue = dynamic_cast<const ValueBase::CommandOnValue*>(&part);
    values::CommandScope scope;
    part.AddScope(scope);
    if (scope.everyKey)
        m_ownSets.erase(path);
    if (!onValue || scope.keys.size() != 1)
        return;
    if (onValue->GetCommandId() != values::eCommandMapSetAt) {
        ForgetOwnSet(path, scope.keys.front());
        return;
    }
    Bytes& set = m_ownSets[path][scope.keys.front()];
    set.clear();
    part.AddCommandString(set, values::eTransmitPlain);
}

/// What comes from the owner, an answer for one, overtakes what was done with the request here.
void ChangeRegion::noteRequests(const QString& path, const values::Command& part, bool own)
{
    values::CommandScope scope;
    part.AddScope(scope);
    for (const std::string& request : scope.requests) {
        if (own) {
            Bytes& command = m_ownRequests[path][request].emplace_back();
            part.AddCommandString(command, values::eTransmitPlain);
        } else if (const auto requests = m_ownRequests.find(path); requests != m_ownRequests.end()) {
            requests->second.erase(request);
        }
    }
}

void ChangeRegion::OnContentReplaced(ValueBase& value)
{
    if (value.IsDeleted())
        return;
    values::CommandScope scope;
    scope.everyKey = true;
    if (m_makesWishes)
        m_untaken[value.GetPath()].Add(0, scope);
    add(CommandsChange(value.GetPath(), ContentOf(value), std::move(scope)));
}

ChangeCollector::ChangeCollector(values::Tree& tree) : m_tree(tree)
{
    tree.AddListener(this, &m_link);
}

ChangeCollector::~ChangeCollector()
{
    m_tree.RemoveListener(this);
}

std::unique_ptr<ChangeRegion> ChangeCollector::MakeRegion(std::function<void()> changed)
{
    std::unique_ptr<ChangeRegion> region(new ChangeRegion(*this, std::move(changed)));
    m_regions.push_back(region.get());
    return region;
}

void ChangeCollector::index()
{
    m_roots.clear();
    m_depths.clear();
    for (ChangeRegion* const region : m_regions) {
        for (const QString& root : region->GetRoots()) {
            m_roots.insert(root, region);
            const int depth = root.count(QLatin1Char('/'));
            if (std::find(m_depths.begin(), m_depths.end(), depth) == m_depths.end())
                m_depths.push_back(depth);
        }
    }
}

ChangeRegion* ChangeCollector::regionOf(const QString& path) const
{
    for (const int depth : m_depths) {
        if (ChangeRegion* const region = m_roots.value(topOf(path, depth)))
            return region;
    }
    return nullptr;
}

bool ChangeCollector::isCompared(const QString& path) const
{
    return std::any_of(m_compared.begin(), m_compared.end(),
                       [&path](const QString& end) { return path.endsWith(end); });
}

void ChangeCollector::OnItemAdded(TreeItem& item)
{
    ChangeRegion* const region = regionOf(item.GetPath());
    if (!region)
        return;
    const qint32 type = TypeOf(item);
    if (IsCollection(type))
        region->Record(dynamic_cast<ValueBase&>(item));
    region->add(AddChange(item.GetPath(), type, ContentOf(item)));
}

void ChangeCollector::OnItemRemoved(TreeItem& item)
{
    if (ChangeRegion* const region = regionOf(item.GetPath())) {
        region->m_ownSets.erase(item.GetPath());
        region->add(RemoveChange(item.GetPath()));
    }
}

void ChangeCollector::OnItemChanged(TreeItem& item, TChangeCode /*code*/, IObserver* originator)
{
    ChangeRegion* const region = regionOf(item.GetPath());
    const qint32 type = region ? TypeOf(item) : 0;
    // Collections say their changes as commands.
    if (type == 0 || IsCollection(type))
        return;
    const auto* const text = dynamic_cast<const values::StringValue*>(&item);
    if (text && !region->m_makesWishes && text->GetValue().size() >= kLeastSearched) {
        // Mostly little of it is new, which the owner finds without all of its bytes.
        Change change = SetChange(item.GetPath(), nullptr);
        change.text = text->GetValue();
        region->add(std::move(change));
        return;
    }
    Change change = SetChange(item.GetPath(), ContentOf(item), isCompared(item.GetPath()));
    if (auto* const author =
            region->m_makesWishes ? dynamic_cast<values::IWishAuthor*>(originator) : nullptr) {
        change.compare = true;
        change.author = values::Weak<IObserver>(originator);
        author->OnWishMade(dynamic_cast<ValueBase&>(item));
    }
    region->add(std::move(change));
}

void ChangeCollector::OnItemAnnounced(TreeItem& item, TChangeCode code, IObserver* originator)
{
    if (ChangeRegion* const region = regionOf(item.GetPath()))
        region->add(AnnounceChange(item.GetPath(), code, originator == &m_writer));
}

/// Whether it is new is seen where it is dealt with, at the owner.
void ChangeCollector::OnItemOrdered(TreeItem& item, bool isNew, IObserver* originator)
{
    ChangeRegion* const region = regionOf(item.GetPath());
    if (region && region->m_makesWishes)
        region->add(OrderChange(item.GetPath(), ContentOf(item)));
    else if (isNew)
        OnItemChanged(item, eChangeValue, originator);
    else
        OnItemAnnounced(item, eChangeValue, originator);
}

} // namespace distribution
