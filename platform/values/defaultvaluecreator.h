#pragma once

#include <values/export.h>
#include <values/value.h>

#include <QString>

#include <memory>

namespace values {

/// Makes an empty value of one type.
using ValueCreator = std::unique_ptr<ValueBase> (*)(const QString& name, TValueState state);

/// Registers the maker for a type number. Registering the same again has no further effect; false, and
/// nothing changes, when the number has another maker. Any thread.
KOLTA_VALUES_EXPORT bool RegisterValueCreator(int type, ValueCreator creator);
/// An empty value of a registered type, in no tree; null for an unknown type. Any thread.
KOLTA_VALUES_EXPORT std::unique_ptr<ValueBase> CreateDefaultValue(int type, const QString& name = QString(),
                                                                  TValueState state = eValueValid);

/// Registers the makers of the plain values (TValueType).
KOLTA_VALUES_EXPORT bool RegisterPlainValues();

/// The maker of one class, which is constructed from name and state. A library registers those of its values
/// by calling Register() where it starts: a registration by a static object alone would be left out by the
/// linker of a program that takes nothing else from that file.
template<class Value>
class DefaultValueCreator
{
public:
    static std::unique_ptr<ValueBase> Create(const QString& name, TValueState state)
    {
        return std::make_unique<Value>(name, state);
    }
    static bool Register() { return RegisterValueCreator(Value().GetType(), &Create); }
};

} // namespace values
