#include "Interface/QXStringTranslator.h"

#include "Foundation/QXString.h"

#include <QString>

#include <string_view>

namespace {

// The windows whose texts have a table of their own.
std::string_view tableOfWindow(std::string_view context)
{
    return context == "NPUpdatePreferences" || context == "NPUpdateUserDriver" ? "QXWebStoreUpdate" : "";
}

} // namespace

QString QXStringTranslator::translate(const char* context, const char* sourceText, const char*, int) const
{
    const std::string text = QXLocalizedString(sourceText, tableOfWindow(context));
    return text == sourceText ? QString() : QString::fromStdString(text);
}
