#include "testprogram.h"

#include <QFileInfo>
#include <QMap>

#include <cstdio>

namespace {

QMap<QString, TestProgram::Run>& programs()
{
    static QMap<QString, TestProgram::Run> all;
    return all;
}

} // namespace

TestProgram::TestProgram(const char* name, Run run)
{
    programs().insert(QFileInfo(QString::fromUtf8(name)).baseName(), run);
}

int main(int argc, char** argv)
{
    const TestProgram::Run run = argc > 1 ? programs().value(QString::fromLocal8Bit(argv[1])) : nullptr;
    if (run)
        return run(argc, argv);
    std::fprintf(stderr, "usage: %s TEST [ARGUMENT...], where TEST is one of\n", argv[0]);
    for (auto it = programs().cbegin(); it != programs().cend(); ++it)
        std::fprintf(stderr, "  %s\n", qPrintable(it.key()));
    return 2;
}
