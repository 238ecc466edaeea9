#pragma once

#include <QHash>
#include <QMap>
#include <QObject>
#include <QStringList>
#include <QVector>

#include <functional>

/// Writes down every signal of one or several objects in the order of emission, as text.
///
/// A signal's line is its form with the arguments in the places %1, %2 …; without forms every signal is
/// written, as its name without "si_" and the arguments. Arguments are written as QVariant writes them,
/// enumerators as numbers, or as write() was told before hear(). Lives on the thread that emits.
class SignalRecorder : public QObject
{
public:
    using Forms = QMap<QByteArray, QString>; ///< by name, of the signals that are to be written

    SignalRecorder() = default;
    explicit SignalRecorder(const QObject& object, const Forms& forms = Forms()) { hear(object, forms); }

    void hear(const QObject& object, const Forms& forms = Forms());
    /// From now on arguments of that type are written so.
    template<class Argument, class Function>
    void write(const Function& function)
    {
        m_writers[qMetaTypeId<Argument>()] = [function](const void* argument) -> QString {
            return function(*static_cast<const Argument*>(argument));
        };
    }

    /// Writes a line, as if it had been signalled.
    void add(const QString& line);
    QStringList lines() const { return m_lines; }
    QString log() const { return m_lines.join(QLatin1Char(' ')); }
    /// All lines since the last call.
    QString taken(const QString& separator = QStringLiteral(" "));
    /// What `action` makes the objects say.
    QString during(const std::function<void()>& action);

    std::function<void()> react; ///< runs once, at the next line

    int qt_metacall(QMetaObject::Call call, int method, void** arguments) override;

private:
    struct Signal
    {
        QString form;
        QVector<int> types;
    };
    QString textOf(int type, const void* argument) const;

    QVector<Signal> m_signals;
    QHash<int, std::function<QString(const void*)>> m_writers;
    QStringList m_lines;
};
