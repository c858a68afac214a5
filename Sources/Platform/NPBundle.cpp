#include "Platform/NPBundle.h"

std::string NPBundleText(const NPBundle& bundle, std::string_view key)
{
    const QXValue* value = QXDictionaryValue(bundle.infoDictionary(), key);
    return value && value->string() ? *value->string() : std::string();
}
