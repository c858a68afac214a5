#include "Foundation/QXPropertyList.h"

#include "Foundation/QXPropertyListForms.h"

namespace {

std::string tooLarge(std::size_t limit)
{
    return "a property list of more than " + std::to_string(limit) + " bytes";
}

std::expected<QXData, std::string> written(const QXValue& value, QXPropertyListForm form,
                                           QXData (*write)(const QXValue&))
{
    const std::expected<QXValue, std::string> writable = QXWritablePropertyList(value, form);
    if (!writable) {
        return std::unexpected(writable.error());
    }
    QXData data = write(*writable);
    const std::size_t limit = QXPropertyListLimits().bytes;
    if (data.size() > limit) {
        return std::unexpected(tooLarge(limit));
    }
    return data;
}

} // namespace

std::expected<QXValue, std::string> QXPropertyListFromData(std::span<const std::uint8_t> data,
                                                           const QXPropertyListLimits& limits)
{
    if (data.size() > limits.bytes) {
        return std::unexpected(tooLarge(limits.bytes));
    }
    std::string_view text(reinterpret_cast<const char*>(data.data()), data.size());
    if (text.starts_with(QXBinaryPropertyListMagic)) {
        return QXReadBinaryPropertyList(data, limits);
    }
    if (text.starts_with("bplist")) {
        return std::unexpected("a binary property list of another version than 00");
    }
    if (text.starts_with("\xFE\xFF") || text.starts_with("\xFF\xFE")) {
        return std::unexpected("text in UTF-16, where only UTF-8 is read");
    }
    if (text.starts_with("\xEF\xBB\xBF")) {
        text.remove_prefix(3);
    }
    const std::size_t start = text.find_first_not_of(" \t\r\n");
    if (start == std::string_view::npos) {
        return std::unexpected("an empty file");
    }
    if (text[start] != '<') {
        return std::unexpected("neither an XML nor a binary property list");
    }
    return QXReadXMLPropertyList(text, limits);
}

std::expected<QXData, std::string> QXPropertyListXMLData(const QXValue& value)
{
    return written(value, QXPropertyListForm::xml, QXWriteXMLPropertyList);
}

std::expected<QXData, std::string> QXPropertyListBinaryData(const QXValue& value)
{
    return written(value, QXPropertyListForm::binary, QXWriteBinaryPropertyList);
}
