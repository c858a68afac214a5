// The pieces of QXPropertyList: one reader and one writer for each form. Only they include this header.
#pragma once

#include "Foundation/QXPropertyList.h"

#include <string_view>

inline constexpr std::string_view QXBinaryPropertyListMagic = "bplist00";
inline constexpr std::size_t QXBinaryPropertyListTrailerSize = 32;

// The text is the whole file without a byte-order mark.
std::expected<QXValue, std::string> QXReadXMLPropertyList(std::string_view text,
                                                          const QXPropertyListLimits& limits);
std::expected<QXValue, std::string> QXReadBinaryPropertyList(std::span<const std::uint8_t> data,
                                                             const QXPropertyListLimits& limits);

// These two take only what QXWritablePropertyList has let through.
QXData QXWriteXMLPropertyList(const QXValue& value);
QXData QXWriteBinaryPropertyList(const QXValue& value);

enum class QXPropertyListForm { xml, binary };

// The value with every text replaced that the form cannot express, or why it cannot be written.
std::expected<QXValue, std::string> QXWritablePropertyList(const QXValue& value, QXPropertyListForm form);
