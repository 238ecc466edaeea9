#pragma once

#include <values/command.h>
#include <values/value.h>

#include <QByteArray>
#include <QList>

#include <memory>

/// Keeps the bytes of every command of a value until either dies.
class CommandRecorder : public values::ICommandRecorder
{
public:
    explicit CommandRecorder(values::ValueBase& value) : m_value(&value) { value.InstallRecorder(this); }
    ~CommandRecorder() override
    {
        if (values::ValueBase* const value = m_value.Get())
            value->RemoveRecorder(this);
    }
    void OnCommand(values::ValueBase&, std::unique_ptr<values::Command> command) override
    {
        std::string bytes;
        command->Clone()->AddCommandString(bytes, values::eTransmitPlain);
        commands.append(QByteArray::fromStdString(bytes));
    }
    QList<QByteArray> commands;

private:
    values::Weak<values::ValueBase> m_value;
};
