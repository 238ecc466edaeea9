#include <distribution/brokeraddress.h>
#include <distribution/linkoptions.h>
#include <distribution/messages.h>
#include <distribution/statetransfer.h>
#include <distribution/textdelta.h>
#include <distribution/textparts.h>
#include <distribution/textsearch.h>
#include <distribution/topics.h>
#include <distribution/writepolicy.h>

#include <values/utf8.h>

#include <support/random.h>
#include <support/test.h>

#include <random>

using namespace distribution;

Q_DECLARE_METATYPE(distribution::Bytes)

namespace {

const QUuid epoch(0x00112233, 0x4455, 0x6677, 0x88, 0x99, 0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0xff);
const QUuid session(0xffffffff, 0x4455, 0x6677, 0x88, 0x99, 0xaa, 0xbb, 0xcc, 0xdd, 0xee, 0x01);

/// The bytes of an example in the documentation.
QByteArray exampleOf(const QByteArray& name)
{
    QFile page(QStringLiteral(KOLTA_DOCS_DIR "/distribution.md"));
    QByteArray hex;
    for (bool inside = false; page.isOpen() || page.open(QIODevice::ReadOnly);) {
        const QByteArray line = page.readLine();
        if (line.isEmpty())
            break;
        inside = line.startsWith("    " + name + ' ') || (inside && line.startsWith("         "));
        if (inside)
            hex += line.mid(14).split('-').first();
    }
    return QByteArray::fromHex(hex);
}

Change withId(Change change, quint32 id)
{
    change.id = id;
    return change;
}

/// One of each kind of change.
Changes everyChange()
{
    const QString path = QStringLiteral("/a");
    Change delta = SetChange(path, MakeContent(Bytes("\0\0\0\0\0\2\0\0\0", 9)));
    delta.operation = Operation::Delta;
    delta.checksum = 7;
    return {
        withId(AddChange(path, 1, MakeContent("x")), 1), withId(RemoveChange(path), 1),
        withId(SetChange(path, MakeContent("y")), 1),    withId(delta, 1),
        withId(AnnounceChange(path, 19, true), 1),       withId(CommandsChange(path, MakeContent("c")), 1)};
}

Bytes logOf(const Entry& entry)
{
    return EncodeLogHead(epoch, 5, 1) + EncodeEntry(entry);
}

/// Decodes a message and encodes it again; empty when it was refused. No message can be taken for another.
Bytes again(const Bytes& bytes)
{
    Bytes out;
    const auto encode = [&out](const auto& message) {
        if (message)
            out += Encode(*message);
    };
    encode(DecodeLive(bytes));
    encode(DecodeBeat(bytes));
    encode(DecodeStatePart(bytes));
    encode(DecodeWish(bytes));
    encode(DecodeAsk(bytes));
    encode(DecodePresence(bytes));
    if (const auto log = DecodeLog(bytes)) {
        out += EncodeLogHead(log->epoch, log->first, log->count);
        values::ByteReader in = log->entries;
        for (auto entry = DecodeEntry(in); entry; entry = in.AtEnd() ? std::nullopt : DecodeEntry(in))
            out += EncodeEntry(*entry);
    }
    return out;
}

Snapshot snapshotOf(int items)
{
    Snapshot snapshot;
    snapshot.sessions = {{session, 9, {{8, {1, WishResult::Conflict, QStringLiteral("no")}}}}};
    for (int i = 0; i < items; ++i)
        snapshot.items.push_back({quint32(2 * i + 1), QStringLiteral("/a%1").arg(i), 1,
                                  MakeContent("text " + std::to_string(i * 7919))});
    return snapshot;
}

} // namespace

class TestMessages : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void goldenBytes_data();
    void goldenBytes();
    void badPathsAndTexts_data();
    void badPathsAndTexts();
    void statesInParts();
    void randomDeltas();
    void foundSplices();
    void largeTexts();
    void doubledItems();
    void badRuns();
    void topics_data();
    void topics();
    void namesOfBranches();
    void trustedAccessFiles();
    void serversRights_data();
    void serversRights();
};

/// The bytes never change: they are those that docs/distribution.md shows.
void TestMessages::goldenBytes_data()
{
    QTest::addColumn<Bytes>("message");
    const QString path = QStringLiteral("/a");
    LiveMessage live{epoch, LiveState::Alive, QStringLiteral("h"), 5000, {path}, QStringLiteral("/a/s"), {}};
    live.channels = {{0, QString()}, {1, QStringLiteral("/a/m")}};
    addRow("live", Encode(live));
    addRow("beat", Encode(BeatMessage{epoch, {{0, 5}, {1, 2}}}));
    addRow("log", logOf({session, 3, {{1, WishResult::Refused, QStringLiteral("no")}}, everyChange()}));
    addRow("hole", EncodeLogHead(epoch, 5, 0));
    addRow("state", Encode(StatePart{epoch, 5, 1, 2, true, 6, 7, values::ByteReader("abc", 3)}));
    Change compared = SetChange(path, MakeContent("y"));
    compared.base = 4;
    addRow("wish", Encode(WishMessage{epoch,
                                      1,
                                      3,
                                      {compared, RemoveChange(path), AnnounceChange(path, 3),
                                       OrderChange(path, MakeContent("o"))}}));
    addRow("ask", Encode(AskMessage{epoch, 1, 6}));
    addRow("presence", Encode(PresenceMessage{QStringLiteral("h"), QStringLiteral("p")}));
}

void TestMessages::goldenBytes()
{
    QFETCH(Bytes, message);
    QCOMPARE(QByteArray::fromStdString(message).toHex(), exampleOf(QTest::currentDataTag()).toHex());
    QCOMPARE(again(message), message);
    const bool endless = *KindOf(message) == MessageKind::State;
    for (std::size_t size = 0; size < message.size(); ++size) {
        const Bytes cut = again(message.substr(0, size));
        // A wish may end between two changes, and a state's part anywhere; neither gives what is not there.
        QVERIFY(cut.empty() || cut == message.substr(0, size));
        QVERIFY(cut.empty() || *KindOf(message) == MessageKind::Wish || endless);
    }
    QVERIFY(endless || again(message + '\0').empty());
    QVERIFY(KindOf(message + "x") && !KindOf(Bytes()) && !KindOf("\x08"));
}

void TestMessages::badPathsAndTexts_data()
{
    QTest::addColumn<Bytes>("path");
    QTest::addColumn<bool>("good");
    addRow("good", Bytes("/a/b"), true);
    addRow("non-ASCII", Bytes("/\xc3\xa4"), true);
    addRow("empty", Bytes(), false);
    addRow("the root", Bytes("/"), false);
    addRow("relative", Bytes("a"), false);
    addRow("slash behind", Bytes("/a/"), false);
    addRow("empty name", Bytes("/a//b"), false);
    addRow("no UTF-8", Bytes("/\xff"), false);
    addRow("overlong slash", Bytes("/a\xc0\xaf"), false);
    addRow("longest", '/' + Bytes(4095, 'x'), true);
    addRow("too long", '/' + Bytes(4096, 'x'), false);
}

void TestMessages::badPathsAndTexts()
{
    QFETCH(Bytes, path);
    QFETCH(bool, good);
    Bytes wish = Encode(WishMessage{epoch, 0, 1, {}});
    wish += char(Operation::Remove);
    values::AppendInteger(wish, quint32(path.size()));
    wish += path;
    QCOMPARE(DecodeWish(wish).has_value(), good);
}

void TestMessages::statesInParts()
{
    for (const int items : {0, 3, 2000}) {
        const Snapshot snapshot = snapshotOf(items);
        QVERIFY(SizeBound(snapshot) >= EncodeSnapshot(snapshot).size());
        const auto parts = Pack({epoch, 4, snapshot, "t", 1000, 100});
        QVERIFY(items < 2000 || parts[1].payload.size() > 1000);
        QCOMPARE(parts.size(), std::size_t(100));
        StateAssembler assembler(1U << 20U);
        StateAssembler::State state;
        int complete = 0;
        for (auto part = parts.rbegin(); part != parts.rend(); ++part) {
            if (!part->payload.empty())
                complete += assembler.Take(*DecodeStatePart(part->payload), state) ==
                            StateAssembler::Progress::Complete;
        }
        QCOMPARE(complete, 1);
        QCOMPARE(EncodeSnapshot(state.snapshot), EncodeSnapshot(snapshot));
        // A part that was changed on its way.
        Bytes wrong = parts[0].payload;
        wrong.back() = char(wrong.back() + 1);
        auto progress = assembler.Take(*DecodeStatePart(wrong), state);
        for (std::size_t i = 1; i < parts.size() && !parts[i].payload.empty(); ++i)
            progress = assembler.Take(*DecodeStatePart(parts[i].payload), state);
        QCOMPARE(progress, StateAssembler::Progress::Broken);
    }
    // A whole that is larger than allowed, though its parts are small.
    StateAssembler small(40000);
    StateAssembler::State state;
    bool complete = false;
    for (const Publication& part : Pack({epoch, 4, snapshotOf(2000), "t", 1000, 0}))
        complete = small.Take(*DecodeStatePart(part.payload), state) == StateAssembler::Progress::Complete ||
                   complete;
    QVERIFY(!complete);
}

/// Whatever was edited, both ends have the same text, and a small edit makes a small delta.
void TestMessages::randomDeltas()
{
    std::mt19937 random(testSeed());
    for (int run = 0; run < 400; ++run) {
        Bytes from;
        for (std::size_t lines = random() % (run % 40 ? 300 : 20000); lines > 0; --lines)
            from += (run % 2 ? "line " : "\xc3\xa4\xf0\x9f\x98\x80 ") +
                    std::to_string(random() % (run % 3 ? 1000000 : 3)) + '\n';
        Bytes to = from;
        std::size_t edited = 0;
        const bool isOnePlace = run % 80 == 0; // in a text of many parts
        for (auto edits = isOnePlace ? 1 : random() % 4; edits > 0; --edits) {
            const std::size_t at = random() % (to.size() + 1);
            const std::size_t count = std::min<std::size_t>(random() % 50, to.size() - at);
            const Bytes moved = to.substr(at, count);
            to.erase(at, count);
            to.insert(isOnePlace ? at : random() % (to.size() + 1),
                      random() % 2 ? moved : Bytes(random() % 60, 'z'));
            edited += 400;
        }
        const Bytes runs = MakeRuns(from, to);
        QCOMPARE(ApplyRuns(from, runs, 1U << 20U), std::optional(to));
        QVERIFY(run % 40 == 0 || runs.size() <= 20 + edited);
        QVERIFY(to.empty() || !ApplyRuns(from, runs, to.size() - 1));
        // In place, where one part was replaced; not where that cuts a character.
        const auto partOf = [&from](std::size_t offset, std::size_t count) {
            return from.substr(offset, count);
        };
        if (const auto splice = AsSplice(from.size(), partOf, runs, 1U << 20U)) {
            TextParts parts(from);
            QString text = QString::fromStdString(from);
            bool isChanged = false;
            QVERIFY(Spliced(from, *splice) == to);
            TextEdit edit = parts.Prepare(*splice);
            QCOMPARE(parts.SumAfter(edit), Checksum(to));
            parts.Apply(edit);
            QVERIFY(parts.Whole() == to && parts.Size() == to.size());
            QVERIFY(!values::SpliceUtf8(text, *splice, isChanged) || text.toStdString() == to);
            QVERIFY(run % 2 == 0 || (text.toStdString() == to && isChanged == (from != to)));
        }
        const Change change = MakeContentChange(1, QStringLiteral("/a"), MakeContent(from), MakeContent(to));
        QVERIFY(change.operation == Operation::Set
                    ? BytesOf(change.content) == to
                    : BytesOf(change.content) == runs && change.checksum == Checksum(to));
        QVERIFY(to.size() > 1024 || change.operation == Operation::Set);
    }
}

/// One edit of a long text is found wherever it is, in whatever characters; two that are far apart are not.
void TestMessages::foundSplices()
{
    const QString alphabet = QString::fromUtf8("ab\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80"); // of 1 to 4 bytes
    std::mt19937 random(testSeed());
    const auto textOf = [&](int size) {
        QString text(size, QLatin1Char('.'));
        for (QChar& character : text) // lone halves of characters among them
            character = random() % 4 ? character : alphabet.at(int(random()) & 3);
        for (int at = int(random() % 3); at + 1 < size; at += 2 + int(random() % 5))
            text.replace(at, 2, alphabet.right(2));
        return text;
    };
    const auto bytesOf = [](const QString& text) {
        Bytes bytes;
        values::AppendUtf8(bytes, text);
        return bytes;
    };
    for (int run = 0; run < 60; ++run) {
        const QString before = textOf(kLeastSearched + int(random() % 100000));
        ItemTable::Item item{QStringLiteral("/a"), values::eTypeString, MakeContent(bytesOf(before)), 0, {}};
        if (run % 2)
            item.Prepare({});
        QString after = before;
        const int at = run % 5 ? int(random()) & 0xffff : run % 10 ? 0 : before.size();
        after.replace(at, int(random() % 300), textOf(int(random() % 300)));
        const auto found = FindSplice(item, after);
        if (after.size() < kLeastSearched)
            continue;
        QVERIFY(found && Spliced(bytesOf(before), *found) == bytesOf(after));
        const Bytes runs = MakeRuns(*found);
        QCOMPARE(ApplyRuns(bytesOf(before), runs, 1U << 22U), std::optional(bytesOf(after)));
        QVERIFY(runs.size() <= MakeRuns(bytesOf(before), bytesOf(after)).size() + 50);
        after[0] = after[after.size() - 1] = QLatin1Char('!');
        QVERIFY(!FindSplice(item, after));
    }
}

/// Texts of many megabytes are read into space of their own kind, where their characters allow it.
void TestMessages::largeTexts()
{
    for (const Bytes& end : {Bytes("z"), Bytes("\xc3\xa4"), Bytes("\xff")}) {
        const Bytes bytes = Bytes(5U << 20U, 'a') + end;
        values::ByteReader in(bytes.data(), bytes.size());
        QString text = QStringLiteral("before");
        QCOMPARE(values::ReadUtf8(in, text), end != "\xff");
        if (end == "\xff") {
            QCOMPARE(text, QStringLiteral("before"));
            continue;
        }
        QVERIFY(text == QString::fromUtf8(bytes.data(), int(bytes.size())) && in.AtEnd());
        bool isChanged = false;
        QVERIFY(values::SpliceUtf8(text, {1, "a", "longer", bytes.size()}, isChanged) && isChanged);
        QVERIFY(text == QString::fromStdString('a' + Bytes("longer") + bytes.substr(2)));
    }
}

/// An entry that adds what is there does not fit, whatever else it says of that.
void TestMessages::doubledItems()
{
    const Bytes runs = MakeRuns(Bytes(3000, 'a'), Bytes(3000, 'a') + 'b');
    Change delta = withId(SetChange(QString(), MakeContent(runs)), 1);
    delta.operation = Operation::Delta;
    delta.checksum = Checksum(Bytes(3000, 'a') + 'b');
    const auto added = [](quint32 id, const char* path) {
        return withId(AddChange(QLatin1String(path), values::eTypeString, MakeContent("x")), id);
    };
    const Change removed = withId(RemoveChange(QStringLiteral("/a")), 1);
    ItemTable items;
    items.Insert(1, {QStringLiteral("/a"), values::eTypeString, MakeContent(Bytes(3000, 'a')), 0, {}});
    const auto fits = [&items](const Changes& changes) {
        return Resolve(changes, items, 1U << 20U).has_value();
    };
    QVERIFY(fits({delta}) && fits({removed, added(2, "/a")}) && fits({delta, removed, added(2, "/a")}));
    QVERIFY(!fits({added(2, "/a"), delta}) && !fits({added(1, "/b"), delta}) && !fits({removed, delta}));
    QVERIFY(!fits({added(2, "/b"), added(3, "/b")}) && !fits({removed, added(2, "/a"), added(3, "/a")}));
}

void TestMessages::badRuns()
{
    // An unknown kind, copies from behind the end, cut ones, and more than is allowed.
    for (const char* const hex :
         {"02 00000000", "00 03000000 02000000", "00 ffffffff 02000000", "00 00000000 0200",
          "01 03000000 6162", "00 00000000 04000000 00 00000000 04000000 01 01000000 61"})
        QVERIFY2(!ApplyRuns("text", QByteArray::fromHex(hex).toStdString(), 8), hex);
}

void TestMessages::topics_data()
{
    QTest::addColumn<Bytes>("topic");
    QTest::addColumn<QString>("branch"); // null: no topic of these
    const Bytes id = "/00112233-4455-6677-8899-aabbccddeeff";
    addRow("live", Topics("site/kolta/").Live(QStringLiteral("S/1 #%+ä")), QStringLiteral("S/1 #%+ä"));
    addRow("log", Topics("site/kolta").Log(QStringLiteral("$S"), 65535), QStringLiteral("$S"));
    addRow("state", Topics("site/kolta").State(QStringLiteral("S"), 2) + "/7", QStringLiteral("S"));
    addRow("up", Topics("site/kolta").Up(QStringLiteral("S"), "a b", epoch), QStringLiteral("S"));
    addRow("presence", Topics("site/kolta").Presence("u", epoch), QStringLiteral(""));
    for (const char* const bad :
         {"other/1/b/S/live", "site/kolta/2/b/S/live", "site/kolta/1/b/S", "site/kolta/1/b//live",
          "site/kolta/1/b/S/dead", "site/kolta/1/b/%2f/live", "site/kolta/1/b/%41/live",
          "site/kolta/1/b/S/log/65536", "site/kolta/1/b/S/log/01", "site/kolta/1/b/S/log/",
          "site/kolta/1/b/S/state/1", "site/kolta/1/b/S/up/u/1", "site/kolta/1/c/u"})
        addRow(bad, Bytes(bad), QString());
    addRow("no user", "site/kolta/1/c/" + id, QString());
}

void TestMessages::topics()
{
    QFETCH(Bytes, topic);
    QFETCH(QString, branch);
    const auto parsed = Topics("site/kolta").Parse(topic);
    QCOMPARE(parsed.has_value(), !branch.isNull());
    if (!parsed)
        return;
    QCOMPARE(parsed->branch, branch);
    const bool up = parsed->kind == TopicKind::Up || parsed->kind == TopicKind::Presence;
    QCOMPARE(parsed->session, up ? epoch : QUuid());
    const Topics names("site/kolta");
    std::vector<Bytes> filters = names.MirrorFilters();
    filters.push_back(names.StateFilter(parsed->branch, parsed->channel));
    for (const Bytes& filter : names.OwnerFilters(branch))
        filters.push_back(filter);
    QVERIFY(std::any_of(filters.begin(), filters.end(),
                        [&](const Bytes& filter) { return MatchesFilter(filter, topic); }));
    QVERIFY(!MatchesFilter(names.Live(QStringLiteral("T")), topic) && !MatchesFilter(topic + "/+", topic));
}

void TestMessages::namesOfBranches()
{
    const auto fits = [](const QString& name) { return WhyNoBranchName(name).isEmpty(); };
    const QString largest = QString(128, QChar(0xe4)); // two bytes each
    for (const QString& name : {QStringLiteral("S 1"), QStringLiteral("$S%2F"), QStringLiteral("Süd \u2116"),
                                QString::fromUcs4(U"\U0001F4E1"), largest})
        QVERIFY2(fits(name), qPrintable(name));
    for (const QString& name : QStringList{
             QString(), largest + QLatin1Char('a'), QStringLiteral("S/1"), QStringLiteral("+"),
             QStringLiteral("S#"), QStringLiteral("a\nb"), QStringLiteral("a\tb"), QStringLiteral("a\u2028b"),
             QStringLiteral("a\u202eb"), QStringLiteral("a\u0085"), QString::fromUcs4(U"\U000E0041"),
             QString(QChar(0xd800)), QString(QChar(0xdc00)) + QLatin1Char('a')})
        QVERIFY2(!fits(name), qPrintable(name.left(20)));
}

/// Anybody could leave a file with other users, or with an authority of his own, where others can write.
void TestMessages::trustedAccessFiles()
{
    QTemporaryDir folder;
    const QByteArray former = qgetenv("XDG_DATA_HOME");
    qputenv("XDG_DATA_HOME", QFile::encodeName(folder.path()));
    const QString url = QStringLiteral("mqtt://127.0.0.1:1");
    QString error;
    const QString path = AccessFilePath(*BrokerAddress::FromUrl(url, error));
    const auto user = [&](const char* server = "") {
        const auto options = LinkOptions::FromConfiguration(url, error, QLatin1String(server));
        return options ? options->User() : std::string("none");
    };
    QVERIFY(path.startsWith(folder.path()) && QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write("first:1\nserver-S1:2\n") > 0);
    file.close();
    const auto own = QFile::ReadOwner | QFile::WriteOwner;
    QVERIFY(file.setPermissions(own));
    QCOMPARE(user(), std::string("first"));
    QCOMPARE(user("S1"), std::string("server-S1"));
    for (const auto others : {QFile::ReadGroup, QFile::WriteGroup, QFile::ReadOther, QFile::WriteOther}) {
        QVERIFY(file.setPermissions(own | others));
        QCOMPARE(user(), std::string("anonymous"));
    }
    QVERIFY(file.setPermissions(own));
    const QString target = folder.filePath(QStringLiteral("target"));
    QVERIFY(QFile::rename(path, target) && QFile::link(target, path));
    QCOMPARE(user(), std::string("anonymous"));
    if (former.isNull())
        qunsetenv("XDG_DATA_HOME");
    else
        qputenv("XDG_DATA_HOME", former);
}

void TestMessages::serversRights_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<Bytes>("allowed");
    const QString base = QStringLiteral("/S/ADMINISTRATION");
    addRow("shelf", base + QStringLiteral("/RequestsNode/id1"), Bytes("add own-set own-remove"));
    addRow("request", base + QStringLiteral("/StopResource"), Bytes("set compare own-set own-remove"));
    addRow("below a request", base + QStringLiteral("/StopResource/below"), Bytes("own-remove"));
    addRow("whole text", base + QStringLiteral("/Resources"), Bytes("compare own-remove"));
    addRow("overview", base + QStringLiteral("/ActualConfiguration"), Bytes("own-remove"));
    addRow("collection", base + QStringLiteral("/ShortTime/Profiles"), Bytes("own-remove commands"));
    addRow("elsewhere", base + QStringLiteral("2/Resources"), Bytes());
}

void TestMessages::serversRights()
{
    QFETCH(QString, path);
    const ServerPolicy policy(QStringLiteral("/S/ADMINISTRATION"),
                              {{QStringLiteral("RequestsNode")},
                               {QStringLiteral("StopResource")},
                               {QStringLiteral("Resources")},
                               QStringLiteral("/S/ADMINISTRATION/ShortTime/")});
    const Writer writer{"u", session, {}, {}};
    Bytes allowed;
    const auto attempt = [&](const char* name, Operation operation, bool compare = false, bool own = false) {
        if (policy.Allows({writer, path, operation, compare, own, Bytes()}))
            allowed += (allowed.empty() ? "" : " ") + Bytes(name);
    };
    attempt("add", Operation::Add);
    attempt("remove", Operation::Remove);
    attempt("set", Operation::Set);
    attempt("compare", Operation::Set, true);
    attempt("own-set", Operation::Set, false, true);
    attempt("own-remove", Operation::Remove, false, true);
    attempt("commands", Operation::Commands);
    QTEST(allowed, "allowed");
}

KOLTA_TEST(TestMessages);
#include "tst_messages.moc"
