#include <values/defaultvaluecreator.h>

#include <mutex>
#include <unordered_map>

namespace values {

namespace {

struct Registry
{
    std::mutex mutex;
    std::unordered_map<int, ValueCreator> creators;
};

Registry& registry()
{
    static Registry instance;
    return instance;
}

} // namespace

bool RegisterValueCreator(int type, ValueCreator creator)
{
    if (!creator)
        return false;
    Registry& all = registry();
    const std::lock_guard<std::mutex> lock(all.mutex);
    return all.creators.emplace(type, creator).first->second == creator;
}

bool RegisterPlainValues()
{
    const bool strings = DefaultValueCreator<StringValue>::Register();
    return DefaultValueCreator<SelectionValue>::Register() && strings;
}

std::unique_ptr<ValueBase> CreateDefaultValue(int type, const QString& name, TValueState state)
{
    ValueCreator creator = nullptr;
    {
        Registry& all = registry();
        const std::lock_guard<std::mutex> lock(all.mutex);
        const auto found = all.creators.find(type);
        if (found == all.creators.end())
            return nullptr;
        creator = found->second;
    }
    return creator(name, state);
}

} // namespace values
