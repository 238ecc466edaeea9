#include "inputfile.h"

#include <usermanagement/userdirectory.h>

#include <QMap>
#include <QSet>
#include <QXmlStreamWriter>

using Nax::User;
using Nax::UserDirectory;

namespace {

/// The users as a file that says the same.
QByteArray written(const UserDirectory& users)
{
    QByteArray text;
    QXmlStreamWriter xml(&text);
    xml.writeStartElement(QStringLiteral("Users"));
    if (!users.loggedIn().isEmpty())
        xml.writeAttribute(QStringLiteral("loggedIn"), users.loggedIn());
    for (const QString& name : users.names()) {
        const User& user = *users.findByName(name);
        xml.writeStartElement(QStringLiteral("User"));
        xml.writeAttribute(QStringLiteral("id"), QString::number(user.id));
        xml.writeAttribute(QStringLiteral("name"), name);
        const QMap<QString, int> rights = [&user] {
            QMap<QString, int> sorted;
            for (auto it = user.rights.begin(); it != user.rights.end(); ++it)
                sorted.insert(it.key(), it.value());
            return sorted;
        }();
        for (auto it = rights.begin(); it != rights.end(); ++it) {
            xml.writeEmptyElement(QStringLiteral("Right"));
            xml.writeAttribute(QStringLiteral("name"), it.key());
            xml.writeAttribute(QStringLiteral("count"), QString::number(it.value()));
        }
        xml.writeEndElement();
    }
    xml.writeEndElement();
    return text;
}

void requireSound(const UserDirectory& users)
{
    QSet<qint32> ids;
    for (const QString& name : users.names()) {
        const User* const user = users.findByName(name);
        Fuzz::require(user && user->name == name && user->id >= 0 && users.findByID(user->id) == user,
                      "a user is not found");
        ids.insert(user->id);
        for (const int count : user->rights)
            Fuzz::require(count > 0, "a right may never be used");
    }
    Fuzz::require(ids.size() == users.names().size(), "two users share a number");
    Fuzz::require(users.loggedIn().isEmpty() || users.findByName(users.loggedIn()),
                  "a stranger is logged in");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const Fuzz::InputFile file;
    const Fuzz::Input input(data, size);
    file.write(QByteArray::fromRawData(input.rest(), input.restSize()));
    UserDirectory users;
    QString error;
    if (!users.load(file.path(), error)) {
        Fuzz::require(error.startsWith(file.path() + QLatin1String(", line ")) &&
                          !error.contains(QLatin1Char('\n')),
                      "an error does not name file and line in one line");
        Fuzz::require(users.names().isEmpty() && users.loggedIn().isEmpty(), "a refused file has users");
        Fuzz::outcome() = error.mid(file.path().size()).toStdString();
        return 0;
    }
    requireSound(users);
    const QByteArray text = written(users);
    Fuzz::outcome() = text.toStdString();
    file.write(text);
    UserDirectory again;
    Fuzz::require(again.load(file.path(), error) && written(again) == text, "users come back differently");
    return 0;
}
