#include <resourcemodel/resources.h>
#include <resourcemodel/textreader.h>
#include <support/test.h>

#include <malloc.h>

using namespace REPORTGENERATOR;
using namespace RESOURCEMANAGEMENT;

namespace {

/// An overview as the pieces that stand between its root's tags: records, and what may stand beside them.
class Pieces
{
public:
    explicit Pieces(quint32 seed) : m_random(seed)
    {
        for (int i = 0; i < 12; ++i)
            m_pieces.append(randomPiece());
    }

    QString text() const { return m_root + m_pieces.join(QString()) + "</ResourceOverview>"_s; }

    void edit()
    {
        const int at = m_random.bounded(m_pieces.size() + 1);
        const int other = m_random.bounded(m_pieces.size() + 1);
        switch (m_random.bounded(8)) {
        case 0:
            m_root = "<?xml version='1.0'?><ResourceOverview a='%1'>"_s.arg(m_random.bounded(3));
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
        static const QString tuner =
            "<Tuner><TavikResource><GUID>%1</GUID></TavikResource><Type>\u00e4&amp;%1</Type><Idle>true</Idle>"
            "<XGStorage><Connection><Type>%1</Type></Connection></XGStorage></Tuner>"_s;
        static const QStringList others{
            "<StorageUnit><TavikResource/><Capacity>%1</Capacity></StorageUnit>"_s,
            "<ProcessingUnit a='>'><Exclusion>%1</Exclusion><TavikResource/></ProcessingUnit>"_s,
            "<NumberOfTuners>%1</NumberOfTuners>"_s,
            "<Other><Tuner><TavikResource/></Tuner>%1</Other>"_s,
            "<!-- <Tuner><TavikResource/></Tuner> %1 -->"_s,
            "<![CDATA[<Tuner/>%1]]>"_s,
            "\r\n %1 "_s};
        const int number = m_random.bounded(6);
        const int kind = m_random.bounded(2 * others.size());
        if (m_random.bounded(100) == 0)
            return "<Tuner/>"_s; // incomplete
        return (kind < others.size() ? others.at(kind) : tuner).arg(number);
    }

    QRandomGenerator m_random;
    QString m_root = "<ResourceOverview>"_s;
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

} // namespace

class TextReaderTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void anyEditsReadAsAWhole();
    void anEditedRecordLeavesItsCopies();
    void changesForEverTakeNoMemory();
};

void TextReaderTest::anyEditsReadAsAWhole()
{
    const quint32 seed = QRandomGenerator::global()->generate();
    qInfo("seed %u", seed);
    Pieces pieces(seed);
    TextReader reader;
    ResourceOverview former;
    Pieces formerPieces = pieces;
    bool known = false; // the records' texts are those of `formerPieces`
    int faults = 0;
    for (int round = 0; round < 5000; ++round) {
        for (int edits = pieces.random(4); edits > 0; --edits)
            pieces.edit();
        const bool damaged = pieces.random(4) == 0;
        const QString text = damaged ? pieces.damagedText() : pieces.text();
        ResourceOverview whole;
        ResourceOverview piecewise;
        const QString failure = failureOf([&] { whole.SetXmlString(text, true); });
        QCOMPARE(failureOf([&] { reader.read(text, piecewise); }), failure);
        QVERIFY2(piecewise == whole, qPrintable(text));
        faults += failure.isEmpty() ? 0 : 1;
        if (!failure.isEmpty())
            continue; // the reader goes on from the last good text
        if (known && !damaged) {
            QVERIFY2(shares(piecewise.GetTuner(), pieces.records("<Tuner>"_s), former.GetTuner(),
                            formerPieces.records("<Tuner>"_s)),
                     qPrintable(text));
            QVERIFY2(shares(piecewise.GetProcessingUnit(), pieces.records("<ProcessingUnit "_s),
                            former.GetProcessingUnit(), formerPieces.records("<ProcessingUnit "_s)),
                     qPrintable(text));
        }
        former = piecewise;
        formerPieces = pieces;
        known = !damaged;
    }
    QVERIFY2(faults > 500 && faults < 2500, qPrintable(QString::number(faults)));
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

/// Heap bytes, in the allocator's own count.
double heapBytes()
{
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd);
}

void TextReaderTest::changesForEverTakeNoMemory()
{
    TextReader reader;
    ResourceOverview mirror;
    double settled = 0;
    for (int update = 0; update < 1000; ++update) {
        QString text = "<ResourceOverview>"_s;
        for (int i = 0; i < 200; ++i)
            text += "<Tuner><TavikResource><GUID>%1</GUID></TavikResource><Type>ZELM</Type>"
                    "<SerialNumber>%2</SerialNumber></Tuner>"_s.arg(1000 + i)
                        .arg(i % 100 == update % 100 ? 1000 + update : 1000);
        text += "</ResourceOverview>"_s;
        ResourceOverview fresh;
        reader.read(text, fresh);
        mirror = fresh;
        if (update == 600)
            settled = heapBytes();
    }
    QVERIFY2(heapBytes() <= 1.1 * settled, qPrintable(QString::number(heapBytes() / settled)));
}

KOLTA_TEST(TextReaderTest);
#include "tst_textreader.moc"
