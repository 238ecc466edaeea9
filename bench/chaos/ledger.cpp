#include "ledger.h"

#include <QFile>
#include <QStringList>

#include <algorithm>

namespace Chaos {

namespace {

template<class Take>
void forEachLine(const QString& journal, const Take& take)
{
    QFile file(journal);
    file.open(QIODevice::ReadOnly);
    while (!file.atEnd()) {
        const QByteArray line = file.readLine();
        // A process that was killed may have left half of one.
        if (line.endsWith('\n'))
            take(QString::fromUtf8(line).trimmed().split(QLatin1Char(' ')));
    }
}

} // namespace

void Ledger::readOwner(const QString& journal, bool isLast)
{
    bool hasActed = false;
    forEachLine(journal, [&](const QStringList& words) {
        const QString& what = words.first();
        const int number = words.value(2).toInt();
        hasActed = true;
        if (what == QLatin1String("did")) {
            ++m_executed[words.value(1).toInt()];
        } else if (what == QLatin1String("lost")) {
            m_fault = words.join(QLatin1Char(' '));
        } else if (!isLast) {
            return;
        } else if (what == QLatin1String("mine")) {
            m_newestOwn[words.value(1).toInt()] = number;
        } else if (what == QLatin1String("dump")) {
            m_own.clear();
            m_keys.clear();
            m_leases.clear();
        } else if (what == QLatin1String("own")) {
            m_own[words.value(1).toInt()] = number;
        } else if (what == QLatin1String("key")) {
            m_keys[words.value(1)] = number;
        } else if (what == QLatin1String("lease")) {
            m_leases.insert(words.value(1).toInt());
        }
    });
    m_owners += hasActed ? 1 : 0;
}

void Ledger::readWriter(const QString& journal, int number, bool wasKilled)
{
    Writer& writer = m_writers[number];
    writer.wasKilled = wasKilled;
    QString newestPath;
    forEachLine(journal, [&](const QStringList& words) {
        const QString& what = words.first();
        if (what == QLatin1String("made")) {
            newestPath = words.value(2);
            writer.paths[newestPath].made.insert(words.value(1).toInt());
            ++m_made;
        } else if (what == QLatin1String("not")) {
            writer.paths[newestPath].made.remove(words.value(1).toInt());
            --m_made;
        } else if (what == QLatin1String("failed")) {
            Path& path = writer.paths[words.value(1)];
            ++path.failed;
            path.refused += words.value(2).toInt();
            ++m_failed;
        } else if (what == QLatin1String("key")) {
            writer.key = words.value(2).toInt();
        } else if (what == QLatin1String("heard")) {
            const int announced = words.value(1).toInt();
            if (writer.heard.contains(announced))
                m_fault = QStringLiteral("writer %1 heard announcement %2 twice").arg(number).arg(announced);
            writer.heard.insert(announced);
        }
    });
}

QSet<int> Ledger::leasesOf(const QSet<int>& writers) const
{
    return QSet<int>(m_leases).intersect(writers);
}

int Ledger::executed() const
{
    return m_executed.size();
}

QString Ledger::check() const
{
    if (!m_fault.isEmpty())
        return m_fault;
    for (auto wish = m_executed.begin(); wish != m_executed.end(); ++wish) {
        if (wish.value() > 1)
            return QStringLiteral("wish %1 was executed %2 times").arg(wish.key()).arg(wish.value());
    }
    for (auto writer = m_writers.begin(); writer != m_writers.end(); ++writer) {
        if (writer->wasKilled)
            continue;
        for (auto path = writer->paths.begin(); path != writer->paths.end(); ++path) {
            const QString fault = checkPath(writer.key(), path.key(), path.value());
            if (!fault.isEmpty())
                return fault;
        }
        const QString fault = checkContent(writer.key(), writer.value());
        if (!fault.isEmpty())
            return fault;
    }
    return QString();
}

/// Reports of failures name the path only, so they are counted by path.
QString Ledger::checkPath(int writer, const QString& name, const Path& path) const
{
    const int executed = static_cast<int>(std::count_if(
        path.made.begin(), path.made.end(), [this](int number) { return m_executed.contains(number); }));
    const int open = path.made.size() - executed;
    if (open > path.failed)
        return QStringLiteral("of writer %1's %2 wishes for %3 %4 were executed and %5 reported as failed")
            .arg(writer)
            .arg(path.made.size())
            .arg(name)
            .arg(executed)
            .arg(path.failed);
    if (!path.made.isEmpty() && (path.refused > open || path.failed > path.made.size()))
        return QStringLiteral("of writer %1's %2 wishes for %3 %4 were executed, and %5 reported as refused")
            .arg(writer)
            .arg(path.made.size())
            .arg(name)
            .arg(executed)
            .arg(path.refused);
    return QString();
}

/// What was executed last stands there in the end, as far as the owner's life goes back.
QString Ledger::checkContent(int writer, const Writer& of) const
{
    if (m_own.contains(writer) && m_own[writer] != m_newestOwn.value(writer))
        return QStringLiteral("writer %1's own value holds wish %2 and not the newest, %3")
            .arg(writer)
            .arg(m_own[writer])
            .arg(m_newestOwn.value(writer));
    const bool isCertain = m_owners == 1 && of.paths.value(QStringLiteral("/r/c2")).failed == 0;
    const int key = m_keys.value(QStringLiteral("own%1").arg(writer));
    if (isCertain && of.key != key)
        return QStringLiteral("writer %1's own item is %2 and not the newest, %3")
            .arg(writer)
            .arg(key)
            .arg(of.key);
    return QString();
}

} // namespace Chaos
