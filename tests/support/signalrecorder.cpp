#include "signalrecorder.h"

#include <QMetaMethod>
#include <QVariant>

#include <utility>

namespace {

/// The type's number, which a class may not have asked for yet.
int typeOf(const QObject& object, const QMetaMethod& method, int place)
{
    int type = method.parameterType(place);
    if (type == QMetaType::UnknownType) {
        void* arguments[] = {&type, &place};
        QMetaObject::metacall(const_cast<QObject*>(&object), QMetaObject::RegisterMethodArgumentMetaType,
                              method.methodIndex(), arguments);
    }
    return type;
}

} // namespace

void SignalRecorder::hear(const QObject& object, const Forms& forms)
{
    const QMetaObject& type = *object.metaObject();
    for (int i = QObject::staticMetaObject.methodCount(); i < type.methodCount(); ++i) {
        const QMetaMethod method = type.method(i);
        const auto form = forms.find(method.name());
        const bool isSignal =
            method.methodType() == QMetaMethod::Signal && !(method.attributes() & QMetaMethod::Cloned);
        if (!isSignal || (form == forms.end() && !forms.isEmpty()))
            continue;
        Signal heard;
        heard.form =
            QString::fromLatin1(method.name().startsWith("si_") ? method.name().mid(3) : method.name());
        for (int place = 0; place < method.parameterCount(); ++place) {
            heard.types.append(typeOf(object, method, place));
            heard.form += QStringLiteral(" %") + QString::number(place + 1);
        }
        if (form != forms.end())
            heard.form = *form;
        // Calls come in at qt_metacall(), each signal under a number behind QObject's own methods.
        QMetaObject::connect(&object, i, this, QObject::staticMetaObject.methodCount() + m_signals.size(),
                             Qt::DirectConnection);
        m_signals.append(heard);
    }
}

void SignalRecorder::add(const QString& line)
{
    m_lines.append(line);
    if (const auto function = std::exchange(react, nullptr))
        function();
}

QString SignalRecorder::taken(const QString& separator)
{
    return std::exchange(m_lines, {}).join(separator);
}

QString SignalRecorder::during(const std::function<void()>& action)
{
    action();
    return taken();
}

QString SignalRecorder::textOf(int type, const void* argument) const
{
    const auto writer = m_writers.find(type);
    if (writer != m_writers.end())
        return (*writer)(argument);
    const QVariant value(type, argument);
    const bool isNumber = QMetaType::typeFlags(type) & QMetaType::IsEnumeration;
    return isNumber ? QString::number(value.toLongLong()) : value.toString();
}

int SignalRecorder::qt_metacall(QMetaObject::Call call, int method, void** arguments)
{
    const int number = QObject::qt_metacall(call, method, arguments);
    if (number < 0 || call != QMetaObject::InvokeMetaMethod)
        return number;
    const Signal& heard = m_signals.at(number);
    QStringList texts;
    for (int i = 0; i < heard.types.size(); ++i)
        texts.append(textOf(heard.types.at(i), arguments[i + 1]));
    QString line;
    for (int i = 0; i < heard.form.size(); ++i) {
        const bool place = heard.form.at(i) == QLatin1Char('%') && i + 1 < heard.form.size();
        line += place ? texts.value(heard.form.at(++i).digitValue() - 1) : QString(heard.form.at(i));
    }
    add(line);
    return -1;
}
