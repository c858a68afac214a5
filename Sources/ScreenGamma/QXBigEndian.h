// Big-endian numbers in bytes, as ICC profiles hold them. The caller checks that the bytes are there.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

inline std::uint32_t QXBigEndian16(std::span<const std::uint8_t> bytes, std::size_t offset)
{
    return std::uint32_t{bytes[offset]} << 8 | bytes[offset + 1];
}

inline std::uint32_t QXBigEndian32(std::span<const std::uint8_t> bytes, std::size_t offset)
{
    return QXBigEndian16(bytes, offset) << 16 | QXBigEndian16(bytes, offset + 2);
}

inline void QXPutBigEndian16(std::span<std::uint8_t> bytes, std::size_t offset, std::uint32_t number)
{
    bytes[offset] = static_cast<std::uint8_t>(number >> 8);
    bytes[offset + 1] = static_cast<std::uint8_t>(number);
}

inline void QXPutBigEndian32(std::span<std::uint8_t> bytes, std::size_t offset, std::uint32_t number)
{
    QXPutBigEndian16(bytes, offset, number >> 16);
    QXPutBigEndian16(bytes, offset + 2, number);
}
