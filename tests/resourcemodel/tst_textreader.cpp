#include <resourcemodel/owners.h>
#include <resourcemodel/processors.h>
#include <resourcemodel/resources.h>
#include <resourcemodel/textreader.h>
#include <support/test.h>

using namespace REPORTGENERATOR;
using namespace RESOURCEMANAGEMENT;

namespace {

/// What overviews of one kind are made of; "%1" stands for a small number.
struct Kind
{
    QString root;
    QStringList records; ///< of its lists, complete
    QStringList others;
    QString incomplete = QString();
};

/// An overview as the pieces that stand between its root's tags: records, and what may stand beside them.
class Pieces
{
public:
    Pieces(const Kind& kind, quint32 seed) : m_kind(kind), m_random(seed), m_root("<%1>"_s.arg(kind.root))
    {
        for (int i = 0; i < 12; ++i)
            m_pieces.append(randomPiece());
    }

    QString text() const { return m_root + m_pieces.join(QString()) + "</%1>"_s.arg(m_kind.root); }

    void edit()
    {
        const int at = m_random.bounded(m_pieces.size() + 1);
        const int other = m_random.bounded(m_pieces.size() + 1);
        switch (m_random.bounded(8)) {
        case 0:
            m_root = "<?xml version='1.0'?><%1 a='%2'>"_s.arg(m_kind.root).arg(m_random.bounded(3));
            break;
        case 1:
            std::reverse(m_pieces.begin(), m_pieces.end());
            break;
        case 2:
            m_pieces.insert(at, randomPiece());
            break;
        case 3:
        case 4:
            if (at < m_pieces.size() && m_pieces.size() > 6)
                m_pieces.removeAt(at);
            break;
        case 5:
            if (at < m_pieces.size() && other < m_pieces.size())
                m_pieces.move(at, other);
            break;
        default:
            if (at < m_pieces.size())
                m_pieces[at] = randomPiece();
        }
    }

    /// The text with a fault in it, as a rule.
    QString damagedText()
    {
        QString damaged = text();
        const int at = m_random.bounded(damaged.size());
        switch (m_random.bounded(3)) {
        case 0:
            damaged.truncate(at);
            break;
        case 1:
            damaged.remove(at, 1 + m_random.bounded(9));
            break;
        default:
            damaged[at] = QChar("<>&/'x-]\u202e"_s.at(m_random.bounded(9)));
        }
        return damaged;
    }

    /// The records of that name, in their order.
    QStringList records(const QString& name) const
    {
        return m_pieces.filter(QRegularExpression(QLatin1Char('^') + name));
    }
    int random(int bound) { return m_random.bounded(bound); }

private:
    /// Few different ones, so that the same come again.
    QString randomPiece()
    {
        static const QStringList anywhere{"<Other><Tuner><TavikResource/></Tuner>%1</Other>"_s,
                                          "<!-- <Tuner><TavikResource/></Tuner> %1 -->"_s,
                                          "<![CDATA[<Owner/>%1]]>"_s, "\r\n %1 "_s};
        if (!m_kind.incomplete.isEmpty() && m_random.bounded(100) == 0)
            return m_kind.incomplete;
        const QStringList pieces = m_random.bounded(3) > 0 ? m_kind.records : m_kind.others + anywhere;
        QString piece = pieces.at(m_random.bounded(pieces.size()));
        return piece.replace("%1"_s, QString::number(m_random.bounded(6)));
    }

    Kind m_kind;
    QRandomGenerator m_random;
    QString m_root;
    QStringList m_pieces;
};

template<class Read>
QString failureOf(Read read)
{
    try {
        read();
    } catch (const RGException& failure) {
        return failure.GetTitle() + failure.GetText();
    }
    return QString();
}

/// Whether every record whose text is one of `formerTexts` is the former record of such a text.
template<class Record>
bool shares(const QVector<Record>& records, const QStringList& texts, const QVector<Record>& former,
            const QStringList& formerTexts)
{
    for (int i = 0; i < texts.size(); ++i) {
        bool known = false;
        bool shared = false;
        for (int k = 0; k < formerTexts.size(); ++k) {
            known = known || texts.at(i) == formerTexts.at(k);
            shared = shared || (texts.at(i) == formerTexts.at(k) && records.at(i).IsSameAs(former.at(k)));
        }
        if (known != shared)
            return false;
    }
    return records.size() == texts.size();
}

bool sharesRecords(const ResourceOverview& now, const Pieces& pieces, const ResourceOverview& former,
                   const Pieces& formerPieces)
{
    return shares(now.GetTuner(), pieces.records("<Tuner>"_s), former.GetTuner(),
                  formerPieces.records("<Tuner>"_s)) &&
           shares(now.GetProcessingUnit(), pieces.records("<ProcessingUnit "_s), former.GetProcessingUnit(),
                  formerPieces.records("<ProcessingUnit "_s));
}

bool sharesRecords(const ProcessorOverview& now, const Pieces& pieces, const ProcessorOverview& former,
                   const Pieces& formerPieces)
{
    return shares(now.GetMCP(), pieces.records("<MCP>"_s), former.GetMCP(),
                  formerPieces.records("<MCP>"_s)) &&
           shares(now.GetSCP(), pieces.records("<SCP>"_s), former.GetSCP(), formerPieces.records("<SCP>"_s));
}

bool sharesRecords(const OwnerOverview& now, const Pieces& pieces, const OwnerOverview& former,
                   const Pieces& formerPieces)
{
    return shares(now.GetOwner(), pieces.records("<Owner>"_s), former.GetOwner(),
                  formerPieces.records("<Owner>"_s));
}

template<class Overview>
void readAnyEdits(const Kind& kind, int rounds)
{
    Pieces pieces(kind, testSeed());
    TextReader reader;
    Overview former;
    Pieces formerPieces = pieces;
    bool known = false; // the records' texts are those of `formerPieces`
    int faults = 0;
    for (int round = 0; round < rounds; ++round) {
        for (int edits = pieces.random(4); edits > 0; --edits)
            pieces.edit();
        const bool damaged = pieces.random(4) == 0;
        const QString text = damaged ? pieces.damagedText() : pieces.text();
        Overview whole;
        Overview piecewise;
        const QString failure = failureOf([&] { whole.SetXmlString(text, true); });
        QCOMPARE(failureOf([&] { reader.read(text, piecewise); }), failure);
        QVERIFY2(piecewise == whole, qPrintable(text));
        faults += failure.isEmpty() ? 0 : 1;
        if (!failure.isEmpty())
            continue; // the reader goes on from the last good text
        if (known && !damaged)
            QVERIFY2(sharesRecords(piecewise, pieces, former, formerPieces), qPrintable(text));
        former = piecewise;
        formerPieces = pieces;
        known = !damaged;
    }
    QVERIFY2(faults > rounds / 10 && faults < rounds / 2, qPrintable(QString::number(faults)));
}

} // namespace

class TextReaderTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void anyEditsReadAsAWhole();
    void anEditedRecordLeavesItsCopies();
};

void TextReaderTest::anyEditsReadAsAWhole()
{
    const QString ffp = "<FFP><KoltaProcessor><TavikResource><GUID>%1</GUID></TavikResource></KoltaProcessor>"
                        "<Frequency>%1</Frequency></FFP>"_s;
    const QString unit = "<ProcessingUnit a='>'><Exclusion>%1</Exclusion><TavikResource/></ProcessingUnit>"_s;
    readAnyEdits<ResourceOverview>(
        {"ResourceOverview"_s,
         {"<Tuner><TavikResource><GUID>%1</GUID></TavikResource><Type>\u00e4&amp;%1</Type><Idle>true</Idle>"
          "<XGStorage><Connection><Type>%1</Type></Connection></XGStorage></Tuner>"_s,
          unit},
         {"<StorageUnit><TavikResource/><Capacity>%1</Capacity></StorageUnit>"_s, unit,
          "<NumberOfTuners>%1</NumberOfTuners>"_s},
         "<Tuner/>"_s},
        3000);
    readAnyEdits<ProcessorOverview>({"ProcessorOverview"_s,
                                     {"<MCP><ProductionID>%1</ProductionID>"_s + ffp + ffp + "</MCP>"_s,
                                      "<MCP>"_s + ffp + "<FHP><FHA/>"_s + ffp + "</FHP></MCP>"_s,
                                      "<MCP><DSC>"_s + ffp + ffp + "<Scanning>true</Scanning></DSC></MCP>"_s,
                                      "<SCP>"_s + ffp + "<DSC>"_s + ffp + "</DSC></SCP>"_s, "<MCP></MCP>"_s},
                                     {"<NumberOfFFPs>%1</NumberOfFFPs>"_s, ffp}},
                                    3000);
    readAnyEdits<OwnerOverview>({"OwnerOverview"_s,
                                 {"<Owner><OwnedGUID>%1</OwnedGUID><ClientID>c</ClientID></Owner>"_s,
                                  "<Owner><ClientID>%1</ClientID><Name>&#228;</Name></Owner>"_s},
                                 {"<Owner2/>%1"_s},
                                 "<Owner/>"_s},
                                1500);
}

void TextReaderTest::anEditedRecordLeavesItsCopies()
{
    const QString text =
        "<ResourceOverview><Tuner><TavikResource/><Type>a</Type></Tuner></ResourceOverview>"_s;
    TextReader reader;
    ResourceOverview first;
    reader.read(text, first);
    ResourceOverview second;
    reader.read(text, second);
    QVERIFY(first.GetTuner().at(0).IsSameAs(second.GetTuner().at(0)));
    second.EditTuner()[0].SetType("b"_s);
    QVERIFY(!first.GetTuner().at(0).IsSameAs(second.GetTuner().at(0)) && first != second);
    reader.read(text, second);
    QVERIFY(first.GetTuner().at(0).IsSameAs(second.GetTuner().at(0)) && first == second);

    Tuner tuner = first.GetTuner().at(0);
    const Tuner other = std::move(tuner);
    tuner = Tuner(); // moved from, and given a new content
    QVERIFY(tuner.IsSameAs(Tuner()) && !tuner.IsTypeSet() && other.GetType() == "a"_s);
    tuner.ResetType();
    QVERIFY(tuner == Tuner());
}

KOLTA_TEST(TextReaderTest);
#include "tst_textreader.moc"
