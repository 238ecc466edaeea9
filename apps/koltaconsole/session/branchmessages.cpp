#include "branchmessages.h"

#include <koltacommon/viewtime.h>

#include <distribution/branchmessage.h>
#include <distribution/treelink.h>

#include <values/value.h>

#include <QCoreApplication>
#include <QStringList>

#include <algorithm>
#include <limits>
#include <utility>

namespace KoltaConsole {

using distribution::BranchMessage;
using distribution::Change;
using distribution::Operation;
using Kind = BranchMessage::Kind;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(BranchMessages)
};

/// With a place for the path.
QString wordOf(Operation operation)
{
    switch (operation) {
    case Operation::Add:
        return Texts::tr("adds %1");
    case Operation::Remove:
        return Texts::tr("removes %1");
    case Operation::Set:
        return Texts::tr("sets %1");
    case Operation::Delta:
        return Texts::tr("changes a part of %1");
    case Operation::Announce:
        return Texts::tr("announces %1");
    case Operation::Commands:
        return Texts::tr("changes the collection %1");
    case Operation::Order:
        return Texts::tr("orders by %1");
    }
    return Texts::tr("does something unknown to %1");
}

/// What is behind the branch's own name, which all paths have.
QString shortPath(const QString& path, const QString& branch)
{
    const QString within = QLatin1Char('/') + branch + QLatin1Char('/');
    const int place = path.indexOf(within);
    return place < 0 ? path : path.mid(place + within.size());
}

/// The selected name of a selection, whose content has zeros in it, as a text never has. Nothing where it is
/// none.
std::optional<QString> selectedName(const distribution::Bytes& bytes)
{
    values::SelectionValue selection;
    values::ByteReader in(bytes.data(), bytes.size());
    if (!selection.ReadContent(in, nullptr) || !in.AtEnd())
        return std::nullopt;
    return selection.GetStringValue();
}

/// The content where it is text or a selection; nothing for one that only programs can read.
std::optional<QString> readContent(const Change& change)
{
    if (change.operation != Operation::Set && change.operation != Operation::Add &&
        change.operation != Operation::Order)
        return std::nullopt;
    const distribution::Bytes& bytes = distribution::BytesOf(change.content);
    const int length = static_cast<int>(std::min<std::size_t>(bytes.size(), LinkMessage::kMostText));
    const QString text = QString::fromUtf8(bytes.data(), length);
    const bool isText = std::all_of(text.begin(), text.end(), [](QChar each) {
        return each.isSpace() ||
               (each.category() != QChar::Other_Control && each != QChar(QChar::ReplacementCharacter));
    });
    return isText ? text : selectedName(bytes);
}

QString contentText(const Change& change)
{
    const std::size_t size = distribution::BytesOf(change.content).size();
    return size == 0 ? QString()
                     : readContent(change).value_or(Texts::tr("(%n bytes)", nullptr, static_cast<int>(size)));
}

/// With the value where it is short enough for a line.
QString changeSentence(const Change& change, const QString& branch)
{
    constexpr int kMostInLine = 60;
    const QString text = wordOf(change.operation).arg(shortPath(change.path, branch));
    if (change.operation == Operation::Add)
        return text;
    const QString value = readContent(change).value_or(QString());
    return value.isEmpty() || value.size() > kMostInLine || value.contains(QLatin1Char('\n'))
               ? text
               : QStringLiteral("%1: %2").arg(text, value);
}

QString changesSentence(const BranchMessage& message, const QString& branch)
{
    if (message.changes.empty())
        return Texts::tr("changes nothing");
    const QString text = changeSentence(message.changes.front(), branch);
    const int more = static_cast<int>(message.changeCount) - 1;
    return more == 0 ? text : Texts::tr("%1, and %n more change(s)", nullptr, more).arg(text);
}

QString entriesSentence(const BranchMessage& message, const QString& branch)
{
    if (message.count == 0)
        return Texts::tr("entry %1 is too large to be sent").arg(message.number);
    const QString name =
        message.count == 1
            ? Texts::tr("entry %1").arg(message.number)
            : Texts::tr("entries %1 to %2").arg(message.number).arg(message.number + message.count - 1);
    QStringList parts;
    if (message.reasons.empty() || !message.changes.empty())
        parts.append(changesSentence(message, branch));
    if (!message.reasons.empty())
        parts.append(Texts::tr("refuses, %1").arg(message.reasons.front()));
    return QStringLiteral("%1: %2").arg(name, parts.join(QStringLiteral("; ")));
}

QString claimSentence(distribution::LiveState live)
{
    switch (live) {
    case distribution::LiveState::Alive:
        return Texts::tr("the server says that it is there");
    case distribution::LiveState::Withdrawn:
        return Texts::tr("the server has left");
    case distribution::LiveState::Dead:
        break;
    }
    return Texts::tr("the broker says that the server has gone");
}

QString sentenceOf(const BranchMessage& message, const QString& branch)
{
    switch (message.kind) {
    case Kind::Claim:
        return claimSentence(message.live);
    case Kind::Entries:
        return entriesSentence(message, branch);
    case Kind::State:
        return Texts::tr("part %1 of %2 of the state after entry %3")
            .arg(message.part + 1)
            .arg(message.count)
            .arg(message.number);
    case Kind::Wish:
        return Texts::tr("wish %1: %2").arg(message.number).arg(changesSentence(message, branch));
    case Kind::AskBeat:
        return Texts::tr("asks for a sign of life");
    case Kind::Ask:
        break;
    }
    return message.number == 0 ? Texts::tr("asks for the state")
                               : Texts::tr("asks for the entries from %1 on").arg(message.number);
}

QByteArray textOf(const BranchMessage& message, const QString& sentence, bool& isShortened)
{
    QStringList lines{sentence};
    if (!message.collection.isEmpty())
        lines.append(Texts::tr("of the collection %1").arg(message.collection));
    for (const QString& reason : message.reasons)
        lines.append(Texts::tr("refused: %1").arg(reason));
    int length = 0;
    for (const Change& change : message.changes) {
        const QString content = contentText(change);
        lines.append(wordOf(change.operation).arg(change.path));
        if (!content.isEmpty())
            lines.append(content);
        length += lines.last().size();
        if (length > LinkMessage::kMostText)
            break;
    }
    const QByteArray text = lines.join(QLatin1Char('\n')).toUtf8();
    isShortened = text.size() > LinkMessage::kMostText || message.changeCount > message.changes.size();
    return beginningOf(text);
}

LinkMessage readable(const BranchMessage& message, const QString& branch)
{
    LinkMessage made;
    made.time = Kolta::ViewTime::now();
    made.isSent = message.isSent;
    made.sentence = sentenceOf(message, branch);
    if (!message.collection.isEmpty() && message.changes.empty())
        made.sentence = QStringLiteral("%1: %2").arg(shortPath(message.collection, branch), made.sentence);
    made.bytes = static_cast<int>(std::min<std::size_t>(message.bytes, std::numeric_limits<int>::max()));
    made.tookMs = message.tookMs;
    made.text = textOf(message, made.sentence, made.isShortened);
    return made;
}

} // namespace

MessageTap messagesOf(distribution::TreeLink& link, const QString& branch)
{
    return [&link, branch](QObject* context, std::function<void(LinkMessage)> take) {
        return link.read(branch, context, [branch, take = std::move(take)](const BranchMessage& message) {
            take(readable(message, branch));
        });
    };
}

} // namespace KoltaConsole
