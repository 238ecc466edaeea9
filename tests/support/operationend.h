#pragma once

#include <koltacommon/operation.h>

#include <QMetaEnum>

/// How an operation has ended: "Done Done None". "gone" for one that has died.
inline QString endOf(const Kolta::Operation* operation)
{
    if (!operation)
        return QStringLiteral("gone");
    const auto word = [](auto value) {
        return QString::fromLatin1(QMetaEnum::fromType<decltype(value)>().valueToKey(int(value)));
    };
    return QStringList{word(operation->state()), word(operation->effect()), word(operation->reason())}.join(
        QLatin1Char(' '));
}
