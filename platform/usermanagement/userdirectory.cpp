#include <usermanagement/userdirectory.h>

#include <startup/textplace.h>

#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QXmlStreamReader>

#include <algorithm>

namespace Nax {

namespace {

/// Far more than any installation needs, and little enough to be read at once.
constexpr qint64 kMaxFileBytes = 16 * 1024 * 1024;

} // namespace

/// Reads one text. The first thing that is wrong ends the reading, see error().
class UserDirectory::Reader
{
public:
    Reader(const QByteArray& text, UserDirectory& target) : m_xml(text), m_target(target) {}

    bool read()
    {
        if (nextElement(QStringLiteral("Users")))
            readUsers();
        while (!m_xml.atEnd())
            m_xml.readNext(); // what follows the root must be well-formed, too
        return m_error.isEmpty() && !m_xml.hasError();
    }

    QString error() const
    {
        return m_error.isEmpty() ? QStringLiteral("%1, expected a well-formed XML document")
                                       .arg(withoutStop(m_xml.errorString()))
                                 : m_error;
    }
    Startup::TextPlace place() const { return m_error.isEmpty() ? Startup::TextPlace::of(m_xml) : m_place; }

private:
    void fail(const QString& text, const Startup::TextPlace& place)
    {
        if (m_xml.hasError()) // what comes first counts, and the rest follows from it
            return;
        m_error = text;
        m_place = place;
        m_xml.raiseError();
    }
    void fail(const QString& text) { fail(text, Startup::TextPlace::of(m_xml)); }

    /// Goes to the next element within the present one, which must have that name; false when there is none.
    bool nextElement(const QString& name)
    {
        while (!m_xml.atEnd()) {
            switch (m_xml.readNext()) {
            case QXmlStreamReader::StartElement:
                if (m_xml.qualifiedName() == name)
                    return true;
                fail(QStringLiteral("found <%1>, expected %2")
                         .arg(m_xml.qualifiedName().toString(), described(name)));
                return false;
            case QXmlStreamReader::EndElement:
                return false;
            case QXmlStreamReader::DTD:
            case QXmlStreamReader::EntityReference:
                fail(QStringLiteral("found a document type or an entity, expected %1").arg(described(name)));
                return false;
            case QXmlStreamReader::Characters:
                if (!m_xml.isWhitespace())
                    fail(QStringLiteral("found text, expected %1").arg(described(name)));
                break;
            default:
                break;
            }
        }
        return false;
    }

    static QString withoutStop(QString sentence)
    {
        if (sentence.endsWith(QLatin1Char('.')))
            sentence.chop(1);
        return sentence;
    }

    static QString described(const QString& name)
    {
        return name.isEmpty() ? QStringLiteral("the end of the element") : QStringLiteral("<%1>").arg(name);
    }

    /// The attributes of the present element, which may have no others than these.
    QXmlStreamAttributes attributes(std::initializer_list<const char*> known)
    {
        QXmlStreamAttributes all = m_xml.attributes();
        for (const QXmlStreamAttribute& attribute : qAsConst(all)) {
            const QString name = attribute.qualifiedName().toString();
            const bool isKnown = std::any_of(known.begin(), known.end(), [&name](const char* text) {
                return name == QLatin1String(text);
            });
            if (!isKnown)
                fail(QStringLiteral("<%1> has the attribute \"%2\", expected none but %3")
                         .arg(m_xml.name().toString(), name, joined(known)));
        }
        return all;
    }

    static QString joined(std::initializer_list<const char*> names)
    {
        QStringList list;
        for (const char* name : names)
            list.append(QLatin1String(name));
        return list.join(QStringLiteral(", "));
    }

    QString nameOf(const QXmlStreamAttributes& all)
    {
        QString name = all.value(QLatin1String("name")).toString();
        if (name.trimmed().isEmpty())
            fail(QStringLiteral("<%1> has no name, expected name=\"TEXT\"").arg(m_xml.name().toString()));
        return name;
    }

    int number(const QXmlStreamAttributes& all, const char* attribute, int minimum)
    {
        bool isNumber = false;
        const QString text = all.value(QLatin1String(attribute)).toString();
        const int number = text.toInt(&isNumber);
        if (!isNumber || number < minimum)
            fail(QStringLiteral("<%1> has %2=\"%3\", expected a whole number from %4 to 2147483647")
                     .arg(m_xml.name().toString(), QLatin1String(attribute), text, QString::number(minimum)));
        return number;
    }

    void readUsers()
    {
        const auto place = Startup::TextPlace::of(m_xml);
        m_target.m_loggedIn = attributes({"loggedIn"}).value(QLatin1String("loggedIn")).toString();
        while (nextElement(QStringLiteral("User")))
            readUser();
        if (!m_target.m_loggedIn.isEmpty() && !m_names.contains(m_target.m_loggedIn))
            fail(QStringLiteral("<Users> has loggedIn=\"%1\", expected the name of a user of this file")
                     .arg(m_target.m_loggedIn),
                 place);
    }

    void readUser()
    {
        const QXmlStreamAttributes all = attributes({"id", "name"});
        User user;
        user.id = number(all, "id", 0);
        user.name = nameOf(all);
        if (m_ids.contains(user.id))
            fail(QStringLiteral("a second user has id=\"%1\", expected one of its own").arg(user.id));
        if (m_names.contains(user.name))
            fail(QStringLiteral("a second user has name=\"%1\", expected one of its own").arg(user.name));
        while (nextElement(QStringLiteral("Right")))
            readRight(user);
        m_ids.insert(user.id);
        m_names.insert(user.name);
        m_target.m_users.append(user);
    }

    void readRight(User& user)
    {
        const QXmlStreamAttributes all = attributes({"name", "count"});
        const QString name = nameOf(all);
        const int count = all.hasAttribute(QLatin1String("count")) ? number(all, "count", 1) : 1;
        if (user.rights.contains(name))
            fail(QStringLiteral("user \"%1\" has the right %2 twice, expected it once").arg(user.name, name));
        user.rights.insert(name, count);
        nextElement(QString());
    }

    QXmlStreamReader m_xml;
    UserDirectory& m_target;
    QSet<qint32> m_ids;
    QSet<QString> m_names;
    QString m_error;
    Startup::TextPlace m_place;
};

bool UserDirectory::load(const QString& file, QString& error)
{
    *this = UserDirectory();
    QFile input(file);
    // Only regular files: a pipe or a device may never end.
    if (QFileInfo::exists(file) && !QFileInfo(file).isFile()) {
        error = QStringLiteral("%1: not a file, expected a file of users").arg(file);
        return false;
    }
    if (!input.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("%1: %2, expected a readable file of users").arg(file, input.errorString());
        return false;
    }
    const QByteArray text = input.read(kMaxFileBytes + 1);
    if (text.size() > kMaxFileBytes) {
        error = QStringLiteral("%1: too long, expected at most %2 bytes").arg(file).arg(kMaxFileBytes);
        return false;
    }
    UserDirectory fresh;
    Reader reader(text, fresh);
    if (!reader.read()) {
        error = reader.place().message(file, reader.error());
        return false;
    }
    *this = fresh;
    return true;
}

const User* UserDirectory::findByName(const QString& name) const
{
    const auto it =
        std::find_if(m_users.begin(), m_users.end(), [&name](const User& user) { return user.name == name; });
    return it == m_users.end() ? nullptr : &*it;
}

const User* UserDirectory::findByID(qint32 id) const
{
    const auto it =
        std::find_if(m_users.begin(), m_users.end(), [id](const User& user) { return user.id == id; });
    return it == m_users.end() ? nullptr : &*it;
}

QStringList UserDirectory::names() const
{
    QStringList names;
    for (const User& user : m_users)
        names.append(user.name);
    return names;
}

} // namespace Nax
