#pragma once

#include <koltacommon/export.h>
#include <xmlmessaging/faulttree.h>

#include <QCoreApplication>
#include <QHash>
#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>
#include <mutex>

namespace ResourceConverter {
class CQueryFaultReference;
struct FaultDescription;
} // namespace ResourceConverter

namespace Kolta {

/// A server's fault turned into text, with its chain of causes. A value: copies share the causes, which never
/// change.
class KOLTA_COMMON_EXPORT Fault
{
    Q_DECLARE_TR_FUNCTIONS(Kolta::Fault)

public:
    /// The null fault.
    Fault() = default;
    /// Builds the fault and its causes; `descriptions` are the texts by fault ID. What is missing in either
    /// is traced and replaced by a text that says so.
    Fault(const XmlCommon::CFaultTree& tree, const QHash<unsigned int, QString>& descriptions);
    Fault(const Fault&) = default;
    Fault(Fault&&) noexcept = default;
    Fault& operator=(const Fault&) = default;
    Fault& operator=(Fault&&) noexcept = default;
    ~Fault();

    /// True for a default-constructed fault; one built from an invalid tree has a text and is not null.
    bool isNull() const noexcept { return faultID == 0 && plainMsg.isEmpty(); }
    /// 0 for a null fault.
    quint32 getFaultID() const noexcept { return faultID; }
    /// Milliseconds since 1970-01-01 UTC, as the server gave it.
    quint64 getTimestamp() const noexcept { return timestamp; }
    const QString& getPlainMsg() const noexcept { return plainMsg; }
    /// In the order of the tree.
    const QStringList& getPlainAddenda() const noexcept { return plainAddenda; }
    /// Null when there is none.
    const std::shared_ptr<Fault>& getCause() const noexcept { return cause; }
    bool hasCause() const noexcept { return cause != nullptr; }

    /// The text, followed by " (addendum, addendum)" if asked for, followed by "Caused by:" and the same of
    /// each cause if asked for; the pieces are joined by "; ".
    QString toString(bool withAddenda, bool withCauses) const;

private:
    void read(const XmlCommon::CFaultTree& tree, const QHash<unsigned int, QString>& descriptions);

    quint32 faultID = 0;
    quint64 timestamp = 0;
    QString plainMsg;
    QStringList plainAddenda;
    std::shared_ptr<Fault> cause;
};

/// The table of fault texts. Functions may be called from any thread; signals are emitted on the calling one.
///
/// The table comes from the fault reference file: UTF-8, one line per fault, "<ID>|<text>".
class KOLTA_COMMON_EXPORT FaultMessageHandler : public QObject
{
    Q_OBJECT

public:
    explicit FaultMessageHandler(QObject* parent = nullptr);
    ~FaultMessageHandler() override;

    /// Loads the file configured under "VeskConfiguration"/"FaultReferenceFile" unless the table is loaded
    /// already. True when the table is loaded: at least one fault was read. Lines that are not "<ID>|<text>"
    /// are skipped and traced; of two lines with one ID the later counts; a second "|" ends the text. `name`
    /// names the server in trace lines.
    bool Init(const QString& name);
    /// Forgets the table, so that the next Init() loads what is configured then.
    void Forget();
    /// The text of a fault with its addenda and causes.
    QString ConvertFaultMessage(const XmlCommon::CFaultTree& tree) const;

Q_SIGNALS:
    /// A fault reference received from a server was written to `path`.
    void si_faultReferenceFile(const QString& path);

public Q_SLOTS:
    /// Takes a server's fault reference as the table, writes it to the configured file, or to
    /// "<TavikDataDir>/Vesk.sfr" in a folder that is made when none is configured, and configures that path.
    /// Nothing when a table is loaded. When the file cannot be written, this process has the texts all the
    /// same, and nothing is signalled or configured. Line breaks within texts become blanks. `query` stays
    /// the caller's.
    void sl_QueryFaultReference(ResourceConverter::CQueryFaultReference* query);

private:
    bool load(const QString& path);

    mutable std::mutex m_mutex; ///< guards the fields below
    QHash<unsigned int, QString> m_descriptions;
    bool m_initialised = false;
};

/// Reads a line of a fault reference file, "<ID>|<text>", without its line break. False when it is none.
KOLTA_COMMON_EXPORT bool readFaultLine(const QString& line, ResourceConverter::FaultDescription& fault);

} // namespace Kolta
