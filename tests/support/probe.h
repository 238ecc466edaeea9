#pragma once

#include <support/text.h>
#include <values/observable.h>

#include <functional>
#include <string>

inline QString hex(const std::string& bytes)
{
    return QString::fromLatin1(QByteArray::fromStdString(bytes).toHex());
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
