#include <koltacommon/faultmessagehandler.h>

#include <startup/cfgcenter.h>
#include <startup/tracesource.h>
#include <xmlmessaging/converters.h>

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

using ResourceConverter::FaultDescription;
using XmlCommon::CFaultTree;

namespace Kolta {

namespace {

/// A longer line is none of a fault reference; it is skipped without being kept in memory.
constexpr int kMaxLineBytes = 16 * 1024;
/// What lies beyond is not read: far more than any fault reference, far less than a machine's memory.
constexpr qint64 kMaxFileBytes = 64 * 1024 * 1024;
/// Number of skipped lines that a trace line names.
constexpr int kNamedLines = 5;

/// Numbers of the trace points. Support tools match on them.
enum eTracePoint : int {
    eUnknownFaultID = 160,
    eErroneousAddendum = 176,
    eInvalidFault = 190,
    eSkippedLines = 240,
    eFileTooLong = 244,
    eLoaded = 0 ///< a success
};
constexpr Startup::TraceSource kTrace("devicecontrol/kolta/koltacommon/faultmessagehandler");

QString configGroup()
{
    return QStringLiteral("VeskConfiguration");
}

QString configKey()
{
    return QStringLiteral("FaultReferenceFile");
}

QString configuredPath()
{
    return Startup::CfgCenter::Instance().Text(configGroup(), configKey());
}

/// Collects the numbers of skipped lines for one trace line.
class SkippedLines
{
public:
    void add(int line)
    {
        if (++m_count <= kNamedLines)
            m_first.append(QString::number(line));
    }
    void report(const QString& path) const
    {
        if (m_count == 0)
            return;
        const QString more = m_count > kNamedLines ? QStringLiteral(", ...") : QString();
        const QString lines = m_first.join(QStringLiteral(", ")) + more;
        kTrace(eSkippedLines, QStringLiteral("Warning: %1: skipped %2 lines that are not \"<ID>|<text>\": %3")
                                  .arg(path, QString::number(m_count), lines));
    }

private:
    int m_count = 0;
    QStringList m_first;
};

/// Reads the rest of a line that is longer than the limit.
void skipRestOfLine(QIODevice& file, QByteArray& bytes)
{
    while (!bytes.isEmpty() && !bytes.endsWith('\n') && file.pos() < kMaxFileBytes)
        bytes = file.readLine(kMaxLineBytes);
}

QHash<unsigned int, QString> readReference(QIODevice& file, const QString& path)
{
    QHash<unsigned int, QString> table;
    SkippedLines skipped;
    for (int number = 1; !file.atEnd(); ++number) {
        if (file.pos() >= kMaxFileBytes) {
            kTrace(eFileTooLong, QStringLiteral("Warning: %1: read no further than %2 bytes")
                                     .arg(path, QString::number(kMaxFileBytes)));
            break;
        }
        QByteArray bytes = file.readLine(kMaxLineBytes);
        if (bytes.isEmpty())
            break;
        if (!bytes.endsWith('\n') && !file.atEnd()) {
            skipped.add(number);
            skipRestOfLine(file, bytes);
            continue;
        }
        while (bytes.endsWith('\n') || bytes.endsWith('\r'))
            bytes.chop(1);
        FaultDescription fault;
        if (readFaultLine(QString::fromUtf8(bytes.constData(), bytes.size()), fault))
            table.insert(fault.id, fault.text.section(QLatin1Char('|'), 0, 0));
        else if (!bytes.isEmpty())
            skipped.add(number);
    }
    skipped.report(path);
    return table;
}

/// One line of the file; a text's line breaks would end it early.
QByteArray toLine(const FaultDescription& fault)
{
    QString text = fault.text;
    text.replace(QLatin1String("\r\n"), QLatin1String(" "));
    for (const int lineBreak : {0x0A, 0x0B, 0x0C, 0x0D, 0x85, 0x2028, 0x2029})
        text.replace(QChar(lineBreak), QLatin1Char(' '));
    const QString line = QStringLiteral("%1|").arg(fault.id) + text + QLatin1Char('\n');
    return line.toUtf8();
}

} // namespace

Fault::Fault(const CFaultTree& tree, const QHash<unsigned int, QString>& descriptions)
{
    read(tree, descriptions);
    Fault* last = this;
    CFaultTree current = tree;
    // A loop, so that a server cannot choose how deep the stack gets.
    while (current.hasCausationDataTree()) {
        current = CFaultTree(current.getCausationDataTree());
        last->cause = std::make_shared<Fault>();
        last = last->cause.get();
        last->read(current, descriptions);
    }
}

Fault::~Fault()
{
    // Takes the chain apart from its front, so that destroying a long one does not recurse.
    std::shared_ptr<Fault> next = std::move(cause);
    while (next && next.use_count() == 1) {
        std::shared_ptr<Fault> following = std::move(next->cause);
        next = std::move(following);
    }
}

void Fault::read(const CFaultTree& tree, const QHash<unsigned int, QString>& descriptions)
{
    const bool hasID = tree.isValid() && tree.getFaultID(faultID);
    if (hasID) {
        const auto description = descriptions.constFind(faultID);
        if (description != descriptions.constEnd()) {
            plainMsg = *description;
        } else {
            kTrace(eUnknownFaultID, QStringLiteral("Error: Unknown fault ID %1").arg(faultID));
            plainMsg = tr("<No description because of unknown Fault ID: %1>").arg(faultID);
        }
    }
    timestamp = tree.getTimestamp();
    const int addenda = tree.getNumberOfAddenda();
    for (int i = 0; i < addenda; ++i) {
        QString addendum;
        if (tree.getAddendum(i, addendum))
            plainAddenda.append(addendum);
        else
            kTrace(eErroneousAddendum, QStringLiteral("Error: Erroneous addenda in fault."));
    }
    if (!hasID) {
        faultID = 0;
        kTrace(eInvalidFault, QStringLiteral("Error: NULL Fault or Fault without ID provided."));
        plainMsg = tr("<Invalid fault description received>");
    }
}

QString Fault::toString(bool withAddenda, bool withCauses) const
{
    QStringList pieces;
    for (const Fault* fault = this; fault; fault = fault->cause.get()) {
        QString text = fault->plainMsg;
        if (withAddenda && !fault->plainAddenda.isEmpty())
            text += QStringLiteral(" (") + fault->plainAddenda.join(QStringLiteral(", ")) + QLatin1Char(')');
        pieces.append(text);
        if (!withCauses || !fault->cause)
            break;
        pieces.append(tr("Caused by:"));
    }
    return pieces.join(QStringLiteral("; "));
}

FaultMessageHandler::FaultMessageHandler(QObject* parent) : QObject(parent) {}

FaultMessageHandler::~FaultMessageHandler() = default;

bool FaultMessageHandler::Init(const QString& name)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_initialised)
        return true;
    const QString path = configuredPath();
    if (path.isEmpty() || !load(path))
        return false;
    kTrace(
        eLoaded,
        QStringLiteral("%1: %2 fault texts for %3").arg(path, QString::number(m_descriptions.size()), name),
        Startup::eTraceInfo);
    return true;
}

void FaultMessageHandler::Forget()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_descriptions.clear();
    m_initialised = false;
}

QString FaultMessageHandler::ConvertFaultMessage(const CFaultTree& tree) const
{
    QHash<unsigned int, QString> descriptions;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        descriptions = m_descriptions;
    }
    return Fault(tree, descriptions).toString(true, true);
}

void FaultMessageHandler::sl_QueryFaultReference(ResourceConverter::CQueryFaultReference* query)
{
    if (!query)
        return;
    QString path;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_initialised)
            return;
        path = configuredPath();
        const bool isDefault = path.isEmpty();
        if (isDefault)
            path =
                Startup::AdministratorConfiguration::Instance().TavikDataDir() + QStringLiteral("/Vesk.sfr");
        QBuffer answer;
        answer.open(QIODevice::ReadWrite);
        const QVector<FaultDescription>& faults = query->getFaults();
        for (const FaultDescription& fault : faults)
            answer.write(toLine(fault));
        answer.seek(0);
        // Read as a file is, so that this process shows the very texts that later ones will.
        m_descriptions = readReference(answer, path);
        m_initialised = !m_descriptions.isEmpty();
        if (isDefault)
            QDir().mkpath(QFileInfo(path).absolutePath());
        // Written aside and renamed: another process may be reading the file.
        QSaveFile file(path);
        if (!file.open(QIODevice::WriteOnly))
            return;
        file.write(answer.data());
        if (!file.commit())
            return;
    }
    Q_EMIT si_faultReferenceFile(path);
    Startup::CfgCenter::Instance().SetValue(configGroup(), configKey(), path);
}

bool FaultMessageHandler::load(const QString& path)
{
    // Only regular files: a pipe or a device may never end.
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly))
        return false;
    m_descriptions = readReference(file, path);
    m_initialised = !m_descriptions.isEmpty();
    return m_initialised;
}

bool readFaultLine(const QString& line, FaultDescription& fault)
{
    const int bar = line.indexOf(QLatin1Char('|'));
    bool isNumber = false;
    fault = {line.left(bar).toUInt(&isNumber), line.mid(bar + 1)};
    return isNumber && bar >= 0;
}

} // namespace Kolta
