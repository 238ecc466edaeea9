#pragma once

#include <values/observable.h>

#include <QStringList>

#include <functional>
#include <string>

inline QString operator""_s(const char* text, std::size_t size)
{
    return QString::fromLatin1(text, int(size));
}
inline QString hex(const std::string& bytes)
{
    return QString::fromLatin1(QByteArray::fromStdString(bytes).toHex());
}
inline QStringList words(const char* text)
{
    return QString::fromLatin1(text).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

/// An observer that writes "<name><code>" into a log and then does what the test wants to happen in the call.
class Probe : public IObserver
{
public:
    explicit Probe(QStringList* log, const QString& name = QString()) : m_log(log), m_name(name) {}
    void Update(Observable* source, TChangeCode code) override
    {
        *m_log << m_name + QString::number(code);
        const auto run = action; // the action may destroy this
        if (run)
            run(source, code);
    }
    std::function<void(Observable*, TChangeCode)> action;

private:
    QStringList* m_log;
    QString m_name;
};
