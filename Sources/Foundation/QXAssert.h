// Broken invariants end the program, in release builds too: going on could write a wrong table to a
// display or a wrong list to the store. The text is fixed per invariant and appears on standard error.
#pragma once

[[noreturn]] void QXAssertionFailed(const char* text);

inline void QXAssert(bool condition, const char* text)
{
    if (!condition) [[unlikely]] {
        QXAssertionFailed(text);
    }
}
