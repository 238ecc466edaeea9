#include "testprogram.h"

#include <QFileInfo>
#include <QMap>
#include <QTemporaryDir>

#include <cstdio>
#include <vector>

namespace {

QMap<QByteArray, TestProgram::Run>& programs()
{
    static QMap<QByteArray, TestProgram::Run> all;
    return all;
}

/// Tests, and the programs that they start, find nothing of their user's or of another test's.
void settleIn(const QTemporaryDir& home)
{
    qputenv("HOME", QFile::encodeName(home.path()));
    for (const char* const name : {"XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME",
                                   "KOLTA_CONFIG", "KOLTA_TREE"})
        qunsetenv(name);
}

} // namespace

TestProgram::TestProgram(const char* name, Run run)
{
    programs().insert(QFileInfo(QString::fromUtf8(name)).baseName().toLocal8Bit(), run);
}

int main(int argc, char** argv)
{
    std::vector<char*> words(argv, argv + argc);
    QByteArray name(argc > 1 ? argv[1] : "");
    if (programs().size() == 1 && !programs().contains(name)) { // goes without saying
        name = programs().firstKey();
        words.insert(words.begin() + 1, name.data());
    }
    if (const TestProgram::Run run = programs().value(name)) {
        const QTemporaryDir home;
        settleIn(home);
        const int count = static_cast<int>(words.size());
        words.push_back(nullptr);
        return run(count, words.data());
    }
    std::fprintf(stderr, "usage: %s TEST [ARGUMENT...], where TEST is one of\n", argv[0]);
    for (auto it = programs().cbegin(); it != programs().cend(); ++it)
        std::fprintf(stderr, "  %s\n", it.key().constData());
    return 2;
}
