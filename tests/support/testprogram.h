#pragma once

/// One of the programs in an executable of tests, which its first argument chooses by name where there are
/// several. Made as a static object; the name must live as long.
class TestProgram
{
public:
    using Run = int (*)(int argc, char** argv);

    TestProgram(const char* name, Run run);

    /// Constructs a test class behind the application object and runs it; the application is called `name`.
    template<class Test>
    static int runTest(int argc, char** argv);
};

#include <QCoreApplication>
#include <QTest>

template<class Test>
int TestProgram::runTest(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QString::fromLocal8Bit(argv[1]));
    QStringList arguments = QCoreApplication::arguments();
    arguments.removeAt(1);
    Test test;
    return QTest::qExec(&test, arguments);
}

/// Makes the class a program that is called as the file, without its suffix.
#define KOLTA_TEST(Class) static const TestProgram programOf##Class(__FILE__, &TestProgram::runTest<Class>)
