#include "program.h"

#include "patience.h"

Program::~Program()
{
    kill();
    waitForFinished(kPatienceMs);
    if (QTest::currentTestFailed())
        show();
}

void Program::begin(const QString& path, const QStringList& arguments, const Variables& variables)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const auto& [name, value] : variables) {
        if (value.isNull())
            environment.remove(QLatin1String(name));
        else
            environment.insert(QLatin1String(name), value);
    }
    setProcessEnvironment(environment);
    start(path, arguments);
}

void Program::feed(const QByteArray& input)
{
    write(input);
    closeWriteChannel();
}

const QByteArray& Program::said()
{
    return m_said += readAllStandardOutput();
}

const QByteArray& Program::complaints()
{
    return m_complaints += readAllStandardError();
}

QByteArray Program::taken()
{
    said();
    m_linesEnd = 0;
    return std::exchange(m_said, QByteArray());
}

bool Program::says(const QByteArray& text, int times)
{
    waitFor([&] { return said().count(text) >= times || isOver(); });
    return said().count(text) >= times || show();
}

bool Program::complains(const QByteArray& text, int times)
{
    waitFor([&] { return complaints().count(text) >= times || isOver(); });
    return complaints().count(text) >= times || show();
}

QString Program::line()
{
    waitFor([this] { return said().indexOf('\n', m_linesEnd) >= 0 || isOver(); });
    const int begin = m_linesEnd, end = said().indexOf('\n', begin);
    if (end < 0) {
        show();
        return QString();
    }
    m_linesEnd = end + 1;
    return QString::fromUtf8(m_said.mid(begin, end - begin)).trimmed();
}

bool Program::ends()
{
    return waitFor([this] { return isOver(); }) || show();
}

int Program::result()
{
    return ends() && error() != FailedToStart && exitStatus() == NormalExit ? exitCode() : -1;
}

bool Program::show()
{
    qWarning("%s has said:\n%s%s", qPrintable(program()), said().constData(), complaints().constData());
    return false;
}
