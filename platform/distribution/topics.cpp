#include <distribution/topics.h>

#include <startup/onelinetext.h>

#include <QVector>

#include <algorithm>
#include <charconv>
#include <string_view>

namespace distribution {

namespace {

/// Version of the encoding of all messages.
constexpr char kVersion[] = "/1";

bool isSpecial(char c)
{
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7f || c == '%' || c == '+' || c == '#' ||
           c == '/' || c == '$';
}

Bytes levelOf(const QString& name)
{
    constexpr char digits[] = "0123456789ABCDEF";
    Bytes level;
    for (const char c : name.toUtf8()) {
        if (isSpecial(c)) {
            const auto byte = static_cast<unsigned char>(c);
            level += {'%', digits[byte >> 4U], digits[byte & 15U]};
        } else {
            level += c;
        }
    }
    return level;
}

constexpr int kMostBytesOfName = 256;

/// Nothing for a level that levelOf() does not make, so that every name has one topic.
std::optional<QString> nameOf(std::string_view level)
{
    const QByteArray encoded(level.data(), static_cast<int>(level.size()));
    const QString name = QString::fromUtf8(QByteArray::fromPercentEncoding(encoded));
    if (level.empty() || levelOf(name) != level)
        return std::nullopt;
    return name;
}

Bytes textOf(const QUuid& id)
{
    return id.toString(QUuid::WithoutBraces).toStdString();
}

bool readNumber(std::string_view level, quint16& number)
{
    const char* const end = level.data() + level.size();
    const auto result = std::from_chars(level.data(), end, number);
    return result.ec == std::errc() && result.ptr == end && std::to_string(number) == level;
}

bool readSession(std::string_view level, QUuid& session)
{
    session = QUuid(QString::fromLatin1(level.data(), static_cast<int>(level.size())));
    return !session.isNull() && textOf(session) == level;
}

std::vector<std::string_view> levelsOf(std::string_view topic)
{
    std::vector<std::string_view> levels;
    for (;;) {
        const std::size_t slash = topic.find('/');
        levels.push_back(topic.substr(0, slash));
        if (slash == std::string_view::npos)
            return levels;
        topic.remove_prefix(slash + 1);
    }
}

/// The levels behind "b": a branch and what follows.
bool readBranchTopic(const std::vector<std::string_view>& levels, Topic& topic)
{
    const auto branch = levels.size() >= 3 ? nameOf(levels[1]) : std::nullopt;
    if (!branch)
        return false;
    topic.branch = *branch;
    const std::string_view name = levels[2];
    switch (levels.size()) {
    case 3:
        topic.kind = name == "live" ? TopicKind::Live : TopicKind::Beat;
        return name == "live" || name == "beat";
    case 4:
        topic.kind = TopicKind::Log;
        return name == "log" && readNumber(levels[3], topic.channel);
    case 5:
        topic.kind = name == "state" ? TopicKind::State : TopicKind::Up;
        if (topic.kind == TopicKind::State)
            return readNumber(levels[3], topic.channel) && readNumber(levels[4], topic.part);
        topic.user = levels[3];
        return name == "up" && IsUsableUser(topic.user) && readSession(levels[4], topic.session);
    default:
        return false;
    }
}

} // namespace

Topics::Topics(const Bytes& prefix) : m_prefix(prefix)
{
    while (!m_prefix.empty() && m_prefix.back() == '/')
        m_prefix.pop_back();
    m_prefix += kVersion;
}

Bytes Topics::ofBranch(const QString& branch) const
{
    return m_prefix + "/b/" + (branch.isEmpty() ? Bytes("+") : levelOf(branch));
}

Bytes Topics::Log(const QString& branch, quint16 channel) const
{
    return ofBranch(branch) + "/log/" + std::to_string(channel);
}

Bytes Topics::State(const QString& branch, quint16 channel) const
{
    return ofBranch(branch) + "/state/" + std::to_string(channel);
}

Bytes Topics::Up(const QString& branch, const Bytes& user, const QUuid& session) const
{
    return ofBranch(branch) + "/up/" + user + '/' + textOf(session);
}

Bytes Topics::Presence(const Bytes& user, const QUuid& session) const
{
    return m_prefix + "/c/" + user + '/' + textOf(session);
}

Bytes Topics::StateFilter(const QString& branch, quint16 channel) const
{
    return State(branch, channel) + "/+";
}

std::vector<Bytes> Topics::MirrorFilters(const QString& branch, bool collections) const
{
    return {Live(branch), Beat(branch), ofBranch(branch) + (collections ? "/log/+" : "/log/0")};
}

std::vector<Bytes> Topics::OwnerFilters(const QString& branch) const
{
    return {Live(branch), Beat(branch), UpFilter(branch), m_prefix + "/c/#"};
}

bool Topics::IsReadOf(const QString& branch, const Bytes& filter) const
{
    const Bytes start = ofBranch(branch) + '/';
    return filter.compare(0, start.size(), start) == 0 && filter.compare(start.size(), 3, "up/") != 0;
}

std::optional<Topic> Topics::Parse(const Bytes& topic) const
{
    if (topic.compare(0, m_prefix.size() + 1, m_prefix + '/') != 0)
        return std::nullopt;
    const auto levels = levelsOf(std::string_view(topic).substr(m_prefix.size() + 1));
    Topic parsed;
    if (levels.front() == "b")
        return readBranchTopic(levels, parsed) ? std::optional(parsed) : std::nullopt;
    if (levels.front() != "c" || levels.size() != 3)
        return std::nullopt;
    parsed.kind = TopicKind::Presence;
    parsed.user = levels[1];
    if (!IsUsableUser(parsed.user) || !readSession(levels[2], parsed.session))
        return std::nullopt;
    return parsed;
}

bool IsTopicLevel(const QString& text)
{
    const auto characters = text.toUcs4();
    return !text.isEmpty() && text.isValidUtf16() &&
           std::none_of(characters.begin(), characters.end(), [](uint each) {
               return each == '/' || each == '+' || each == '#' || Startup::isUnseen(each);
           });
}

bool IsTopicPrefix(const QString& text)
{
    const QStringList levels = text.split(QLatin1Char('/'));
    return !levels.first().contains(QLatin1Char('$')) &&
           std::all_of(levels.begin(), levels.end(), IsTopicLevel);
}

bool IsUsableUser(const Bytes& user)
{
    const auto bytes = QByteArray::fromRawData(user.data(), static_cast<int>(user.size()));
    const QString name = QString::fromUtf8(bytes);
    return name.toUtf8() == bytes && IsTopicLevel(name);
}

QString WhyNoBranchName(const QString& name)
{
    if (name.isEmpty())
        return QStringLiteral("a branch needs a name");
    if (name.toUtf8().size() > kMostBytesOfName)
        return QStringLiteral("the name of a branch has at most %1 bytes").arg(kMostBytesOfName);
    if (IsTopicLevel(name))
        return QString();
    if (!name.isValidUtf16())
        return QStringLiteral("the name of a branch is no text: half of a character is missing");
    const bool hasSpecial =
        name.contains(QLatin1Char('/')) || name.contains(QLatin1Char('+')) || name.contains(QLatin1Char('#'));
    return hasSpecial ? QStringLiteral("the name of a branch has no \"/\", \"+\" and \"#\"")
                      : QStringLiteral("the name of a branch has no line feeds and other control characters");
}

Bytes OwnerClientId(const QString& branch)
{
    return "kolta-owner-" + levelOf(branch);
}

bool MatchesFilter(const Bytes& filter, const Bytes& topic)
{
    std::size_t at = 0; // in the topic, at the beginning of a level
    std::size_t wanted = 0;
    for (;;) {
        if (filter.compare(wanted, Bytes::npos, "#") == 0)
            return true;
        const std::size_t end = std::min(topic.find('/', at), topic.size());
        const std::size_t wantedEnd = std::min(filter.find('/', wanted), filter.size());
        const bool any = wantedEnd == wanted + 1 && filter[wanted] == '+';
        if (!any && filter.compare(wanted, wantedEnd - wanted, topic, at, end - at) != 0)
            return false;
        if (end == topic.size() || wantedEnd == filter.size())
            return end == topic.size() && wantedEnd == filter.size();
        at = end + 1;
        wanted = wantedEnd + 1;
    }
}

} // namespace distribution
