#include <support/probe.h>
#include <support/test.h>

#include <values/defaultvaluecreator.h>
#include <values/tree.h>
#include <values/value.h>

#include <random>

using namespace values;

namespace {

/// Writes "+path", "-path=content", "path:code" for a change and "path!code" for an announcement into a log,
/// and keeps the paths of what is there.
class Recorder : public ITreeListener
{
public:
    void OnItemAdded(TreeItem& item) override
    {
        paths.insert(item.GetPath());
        note(QLatin1Char('+') + item.GetPath());
    }
    void OnItemRemoved(TreeItem& item) override
    {
        paths.remove(item.GetPath());
        const auto* value = dynamic_cast<ValueBase*>(&item);
        note(QLatin1Char('-') + item.GetPath() +
             (value ? QLatin1Char('=') + value->GetStringValue() : QString()));
    }
    void OnItemChanged(TreeItem& item, TChangeCode code, IObserver*) override
    {
        note(item.GetPath() + QLatin1Char(':') + QString::number(code));
    }
    void OnItemAnnounced(TreeItem& item, TChangeCode code, IObserver*) override
    {
        note(item.GetPath() + QLatin1Char('!') + QString::number(code));
    }
    QStringList log;
    QSet<QString> paths;
    std::function<void()> action;

private:
    void note(const QString& line)
    {
        log << line;
        if (action)
            action();
    }
};

} // namespace

class TestTree : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void paths()
    {
        for (const char* const given : {"/a/b", "a/b", "//a///b//", "", "//"}) {
            const QString text = QString::fromLatin1(given);
            const bool root = !text.contains(QLatin1Char('a'));
            const QString normal = root ? "/"_s : "/a/b"_s;
            Tree tree;
            TreeItem* const made = tree.EnsureNode(text);
            QCOMPARE(made->GetPath(), normal);
            QVERIFY(tree.Find(text) == made && tree.Find(normal) == made && !tree.Find("/A/B"_s));
            QCOMPARE(tree.Remove(text), !root);
        }
    }

    void tombstoneLives()
    {
        Tree tree;
        QStringList log;
        auto probe = std::make_unique<Probe>(&log);
        auto* const value = tree.Emplace<StringValue>("/s/v"_s, "one"_s);
        const TreeItem* const parent = tree.EnsureNode("/s/w"_s)->GetParent();
        value->Attach(probe.get());

        QVERIFY(tree.Remove("/s/v"_s) && !tree.Remove("/s/v"_s));
        QCOMPARE(tree.Find("/s/v"_s), value);
        QVERIFY(value->IsDeleted() && value->GetValue().isEmpty());
        QVERIFY(!value->SetValue("late"_s));
        value->Announce(eChangeUser);
        QCOMPARE(log + parent->GetChildNames(), words("2 w"));

        QVERIFY(!tree.Emplace<SelectionValue>("/s/v"_s));
        QCOMPARE(tree.Emplace<StringValue>("/s/v"_s, "two"_s), value);
        QVERIFY(!tree.Emplace<StringValue>("/s/v"_s, "refused"_s) && !value->IsDeleted());
        QCOMPARE(value->GetValue(), "two"_s);
        QCOMPARE(log + parent->GetChildNames(), words("2 2 3 w v"));

        tree.Remove("/s/v"_s);
        probe.reset();
        QVERIFY(!tree.Find("/s/v"_s) && tree.Emplace<SelectionValue>("/s/v"_s));
    }

    void deletedBranchComesBack()
    {
        Tree tree;
        QStringList log;
        Probe node(&log, "n"_s), value(&log, "v"_s), top(&log, "t"_s);
        tree.Emplace<StringValue>("/s/n/v"_s, "x"_s);
        tree.Emplace<StringValue>("/s/n/w"_s, "x"_s);
        tree.EnsureNode("/"_s)->Attach(&top);
        tree.Find("/s/n"_s)->Attach(&node);
        tree.Find("/s/n/v"_s)->Attach(&value);

        tree.Remove("/s"_s);
        QCOMPARE(log, words("v2 n17 n17 n2 t17"));
        QCOMPARE(tree.Size(), 3); // "/s" stands for the sake of "/s/n"
        QVERIFY(tree.EnsureNode("/"_s)->GetChildren().isEmpty());
        log.clear();
        tree.Emplace<StringValue>("/s/n/v"_s);
        QCOMPARE(log, words("t16 n2 v2 v3 n16"));

        tree.Clear();
        tree.Find("/s/n"_s)->Detach(&node);
        QCOMPARE(tree.Size(), 3);
        tree.Find("/s/n/v"_s)->Detach(&value);
        QCOMPARE(tree.Size(), 0);
    }

    /// What the value's observer does when it hears of the deletion (detach, create, remove, clear), and what
    /// is there in the end; the deletion is made from outside, and by the observer itself during a change.
    void observersInterfere()
    {
        const char* const cases[][2] = {{"", "tombstone"}, {"d", "nothing"}, {"x", "tombstone"},
                                        {"c", "new"},      {"dc", "new"},    {"crd", "nothing"}};
        for (int i = 0; i < 12; ++i) {
            const auto& [script, outcome] = cases[i / 2];
            QByteArray todo = script;
            bool fromChange = i % 2;
            Tree tree;
            QStringList log;
            Probe probe(&log);
            auto* const value = tree.Emplace<StringValue>("/s/v"_s, "old"_s);
            value->Attach(&probe);
            probe.action = [&](Observable* source, TChangeCode code) {
                if (code == eChangeValue && std::exchange(fromChange, false))
                    tree.Remove("/s"_s);
                for (const char step :
                     code == eChangeState ? std::exchange(todo, QByteArray()) : QByteArray()) {
                    if (step == 'd')
                        source->Detach(&probe);
                    else if (step == 'c')
                        tree.Emplace<StringValue>("/s/v"_s, "new"_s);
                    else
                        step == 'r' ? void(tree.Remove("/s/v"_s)) : tree.Clear();
                }
            };
            fromChange ? value->SetValue("changed"_s) : tree.Remove("/s"_s);
            const auto* const left = tree.FindAs<StringValue>("/s/v"_s);
            const QString found = !left ? "nothing"_s : left->IsDeleted() ? "tombstone"_s : left->GetValue();
            QCOMPARE(found, QLatin1String(outcome));
            if (left && !left->IsDeleted()) // what stands in the deleted branch keeps its parent
                QVERIFY(!tree.Find("/s"_s)->IsDeleted());
        }
    }

    void consumedAtOnce()
    {
        Tree tree;
        QStringList log;
        Probe reader(&log);
        TreeItem* const requests = tree.EnsureNode("/requests"_s);
        requests->Attach(&reader);
        reader.action = [&](Observable*, TChangeCode code) {
            if (code == eChangeChildAdded)
                tree.Remove(requests->GetChildren().last()->GetPath());
        };
        for (int i = 0; i < 2; ++i) {
            const auto* const accepted = tree.Emplace<StringValue>("/requests/id1"_s, "text"_s);
            QVERIFY(accepted && accepted->IsDeleted() && !tree.Find("/requests/id1"_s));
        }
        QCOMPARE(log, words("16 17 16 17"));
        reader.action = [&](Observable* source, TChangeCode) {
            source->Detach(&reader);
            tree.Remove("/requests"_s);
        };
        QVERIFY(tree.Emplace<StringValue>("/requests/id2"_s, "text"_s));
        QCOMPARE(tree.Size(), 0);
    }

    void listenersHearEachEventOnce()
    {
        Tree tree;
        QStringList log;
        Recorder recorder, link;
        Probe self(&log), reader(&log);
        tree.AddListener(&recorder);
        tree.AddListener(&link, &self);
        auto* const value = tree.Emplace<StringValue>("/s/v"_s, "one"_s);
        value->Attach(&self);
        value->Attach(&reader);
        reader.action = [&](Observable*, TChangeCode) {
            if (value->GetValue() == "two"_s)
                value->SetValue("three"_s);
        };
        value->SetValue("two"_s, &self);
        QCOMPARE(log, words("3 3 3"));
        tree.Remove("/s/v"_s, &self);
        tree.Add("/s/v"_s, std::make_unique<StringValue>("four"_s), &self);
        tree.Remove("/s"_s);
        QCOMPARE(recorder.log, words("+/s +/s/v /s/v:3 /s/v:3 -/s/v=three +/s/v -/s/v=four -/s"));
        QCOMPARE(link.log, words("+/s +/s/v /s/v:3 -/s/v=four -/s"));
    }

    void listenersComeAndGo()
    {
        Tree tree;
        Recorder first, last;
        auto second = std::make_unique<Recorder>();
        first.action = [&] {
            tree.RemoveListener(second.get());
            second.reset();
            tree.RemoveListener(&first);
            tree.AddListener(&last);
        };
        tree.AddListener(&first);
        tree.AddListener(second.get());
        tree.EnsureNode("/a"_s);
        tree.EnsureNode("/b"_s);
        QCOMPARE(first.log, words("+/a"));
        QCOMPARE(last.log, words("+/b"));
    }

    void writeOrAnnounce()
    {
        QStringList log;
        Probe probe(&log);
        auto* const value = Tree::Instance().Emplace<StringValue>("/w/text"_s);
        value->Attach(&probe);
        Tree::Instance().Emplace<SelectionValue>("/w/selection"_s);
        Recorder link;
        Tree::Instance().AddListener(&link);
        for (const QString& text : {"same"_s, "same"_s, "other"_s})
            QVERIFY(WriteOrAnnounce("/w/text"_s, text));
        QVERIFY(WriteOrAnnounce("/w/text"_s, "mine"_s, &probe));
        QCOMPARE(log, words("3 3 3"));
        QVERIFY(!WriteOrAnnounce("/w/selection"_s, "same"_s));
        Tree::Instance().RemoveListener(&link);
        QCOMPARE(link.log, words("/w/text:3 /w/text!3 /w/text:3 /w/text:3"));
    }

    /// Every content comes back equal, and bytes that nobody writes are refused whole.
    void contentsTravel()
    {
        const auto contentOf = [](const ValueBase& value) {
            std::string bytes;
            return value.AppendContent(bytes) ? bytes : "none"_s.toStdString();
        };
        const auto read = [](ValueBase& value, const std::string& bytes) {
            ByteReader in(bytes.data(), bytes.size());
            return value.ReadContent(in, nullptr) && in.AtEnd();
        };
        QVERIFY(RegisterPlainValues());
        QString everyUnit;
        for (int unit = 0; unit <= 0xffff; ++unit)
            everyUnit += QChar(unit);
        const QString high(QChar(0xd800)), low(QChar(0xdc00)), block(16383, QLatin1Char('x'));
        for (const QString& text :
             QStringList{QString(), QString(QChar(0xfeff)), everyUnit, low + high, high + low, high,
                         block + high + low, block + high + high + low,
                         QString::fromUcs4(U"a\u00e4\u20ac\U0001f4e1\U0010ffff")}) {
            const auto other = CreateDefaultValue(eTypeString);
            QVERIFY(read(*other, contentOf(StringValue(text))));
            QCOMPARE(other->GetStringValue(), text);
        }
        const auto text = CreateDefaultValue(eTypeString);
        QVERIFY(read(*text, "kept"));
        for (const char* const foreign : {"\xff", "\x80", "\xc0\x80", "\xe0\x80\x80", "\xf0\x80\x80\x80",
                                          "\xc3", "\xed\xa0\x80\xed\xb0\x80", "\xf4\x90\x80\x80"}) {
            QVERIFY2(!read(*text, foreign), foreign);
            QCOMPARE(text->GetStringValue(), "kept"_s);
        }

        const SelectionValue source({{-1, "off"_s}, {7, QString()}}, 9);
        const auto selection = CreateDefaultValue(eTypeSelection);
        QStringList log;
        Probe probe(&log);
        selection->Attach(&probe);
        const std::string bytes = contentOf(source);
        for (std::size_t size = 0; size < bytes.size(); ++size)
            QVERIFY(!read(*selection, bytes.substr(0, size)));
        QVERIFY(!read(*selection, bytes + 'x'));
        QVERIFY(log.isEmpty());
        QVERIFY(read(*selection, bytes) && read(*selection, bytes));
        QVERIFY(selection->Compare(&source));
        QCOMPARE(log, words("7 3"));
    }

    /// Observers that change the tree at random while they are called: nothing may dangle, and what a
    /// listener has seen come and go must be what is there.
    void randomChangesFromObservers()
    {
        std::mt19937 random(testSeed());
        Tree tree;
        Recorder mirror;
        tree.AddListener(&mirror);
        QStringList log;
        std::vector<std::unique_ptr<Probe>> probes(6);
        int depth = 0;
        const auto path = [&] {
            QString text;
            for (auto parts = 1 + random() % 3; parts > 0; --parts)
                text += QLatin1Char('/') + QString(QLatin1Char(char('a' + random() % 2)));
            return text;
        };
        std::function<void()> change = [&] {
            const QString at = path();
            auto& probe = probes[random() % probes.size()];
            const auto kind = random() % 8;
            TreeItem* const item = tree.Find(at);
            auto* const value = dynamic_cast<StringValue*>(item);
            if (kind < 2)
                tree.Emplace<StringValue>(at, at);
            else if (kind == 2)
                tree.Emplace<SelectionValue>(at);
            else if (kind == 3)
                tree.Remove(at);
            else if (kind == 4)
                probe.reset();
            else if (kind == 5 && value)
                value->SetValue(QString::number(random()));
            else if (item && probe)
                random() % 4 ? item->Attach(probe.get()) : item->Detach(probe.get());
            if (!probe)
                probe = std::make_unique<Probe>(&log);
            probe->action = [&](Observable*, TChangeCode) {
                if (++depth < 4)
                    change();
                --depth;
            };
        };
        for (int step = 0; step < 20000; ++step) {
            change();
            log.clear();
            mirror.log.clear();
            QSet<QString> living;
            std::function<void(TreeItem*)> visit = [&](TreeItem* item) {
                for (TreeItem* child : item->GetChildren()) {
                    living.insert(child->GetPath());
                    QCOMPARE(tree.Find(child->GetPath()), child);
                    visit(child);
                }
            };
            visit(tree.EnsureNode("/"_s));
            QCOMPARE(mirror.paths, living);
        }
        probes.clear();
        tree.Clear();
        QCOMPARE(tree.Size(), 0);
    }
};

KOLTA_TEST(TestTree);
#include "tst_tree.moc"
