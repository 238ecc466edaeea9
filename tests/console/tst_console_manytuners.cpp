#include "consoletest.h"

#include <koltaconsole/pages/tuners/tunerspage.h>
#include <koltaconsole/plots/frequencyaxis.h>
#include <koltaconsole/plots/frequencylanes.h>

#include <QElapsedTimer>
#include <QScrollBar>
#include <QTreeView>

using namespace KoltaConsole;

namespace {

/// What the table is told, and how often the lanes above it are made anew, which takes all rows.
struct Costs
{
    Costs(const TunersPage& page, const FrequencyAxis& shown)
        : axis(shown), lanes(shown.lanes()), rows(page.rows())
    {
        const auto whole = [this] { ++resets; };
        const auto some = [this](const QModelIndex&, int first, int last) { told += last - first + 1; };
        QObject::connect(&rows, &QAbstractItemModel::modelReset, &context, whole);
        QObject::connect(&rows, &QAbstractItemModel::layoutChanged, &context, whole);
        QObject::connect(&rows, &QAbstractItemModel::rowsInserted, &context, some);
        QObject::connect(&rows, &QAbstractItemModel::rowsRemoved, &context, some);
        QObject::connect(&rows, &QAbstractItemModel::dataChanged, &context,
                         [this](const QModelIndex& first, const QModelIndex& last) {
                             told += last.row() - first.row() + 1;
                         });
    }
    /// The copy that is kept makes sure that other lanes lie elsewhere.
    int lanesMade()
    {
        if (axis.lanes().constData() != lanes.constData()) {
            lanes = axis.lanes();
            ++made;
        }
        return made;
    }

    const FrequencyAxis& axis;
    QVector<Lane> lanes;
    const RowIndex& rows;
    QObject context;
    int resets = 0;
    int told = 0; ///< rows
    int made = 0;
};

} // namespace

/// What 10,000 tuners cost while single ones change.
class TestManyTuners : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase() { m_stage.reset(); }
    void changesAreToldSingly();
    void eachWordIsOnePass();

private:
    TunersPage& page() const
    {
        return static_cast<TunersPage&>(*m_stage->window->showPage(QStringLiteral("tuners")));
    }
    void change(int turn);

    std::unique_ptr<Stage> m_stage;
};

void TestManyTuners::initTestCase()
{
    Options options;
    options.servers = 100;
    options.tuners = 100;
    options.page = QStringLiteral("tuners");
    m_stage = std::make_unique<Stage>(options);
    QTRY_VERIFY(m_stage->isSettled());
    QTRY_COMPARE(page().rows().rowCount(), 10000);
}

/// One tuner of one server in a hundred.
void TestManyTuners::change(int turn)
{
    auto* const server = m_stage->session->simulation()->server(QStringLiteral("S%1").arg(turn % 100 + 1));
    const auto& tuner = server->resources().GetTuner().at(turn * 7 % 100);
    server->setTunerIdle(tuner.GetTavikResource().GetGUID(), !tuner.GetIdle());
}

/// While tuners change, somebody scrolls and zooms. The lanes may be made anew four times in a second.
void TestManyTuners::changesAreToldSingly()
{
    auto* const table = page().findChild<QTreeView*>();
    auto* const axis = page().findChild<FrequencyAxis*>();
    Costs costs(page(), *axis);
    QElapsedTimer timer;
    timer.start();
    for (int turn = 0; turn < 30; ++turn) {
        for (int i = 0; i < 10; ++i)
            change(turn * 10 + i);
        table->verticalScrollBar()->setValue(turn * 37 % std::max(1, table->verticalScrollBar()->maximum()));
        axis->zoom(turn % 2 == 0 ? 0.8 : 1.25, 100e6);
        QCoreApplication::processEvents();
        costs.lanesMade();
    }
    QTRY_VERIFY(costs.lanesMade() >= 1);
    QTRY_VERIFY(costs.told >= 300);
    qInfo("rows told %d, lanes made %d times in %lld ms", costs.told, costs.made, timer.elapsed());
    QCOMPARE(costs.resets, 0);
    QVERIFY2(costs.told <= 900, QByteArray::number(costs.told).constData());
    // A timer of 250 ms may ring a little early.
    QVERIFY2(costs.lanesMade() <= 1 + timer.elapsed() / 200, QByteArray::number(costs.made).constData());
}

void TestManyTuners::eachWordIsOnePass()
{
    Costs costs(page(), *page().findChild<FrequencyAxis*>());
    int words = 0;
    for (const char* const word : {"h", "hf", "hf fr", "hf free", "118-137 MHz", ""}) {
        page().filterLine()->setText(QString::fromLatin1(word));
        QCOMPARE(costs.resets, ++words);
        QVERIFY(costs.lanesMade() <= words);
    }
}

KOLTA_CONSOLE_TEST(TestManyTuners);
#include "tst_console_manytuners.moc"
