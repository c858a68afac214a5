#include "Foundation/QXVersion.h"

#include <algorithm>
#include <string>
#include <vector>

namespace {

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool isLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// A run of digits without zeros before them, or of letters.
struct Part {
    bool isNumber = true;
    std::string_view text = {};

    bool isZero() const { return isNumber && text.empty(); }
};

std::vector<Part> partsOf(std::string_view version)
{
    std::vector<Part> parts;
    while (!version.empty()) {
        const bool isNumber = isDigit(version.front());
        const auto belongs = [&](char c) { return isNumber ? isDigit(c) : isLetter(c); };
        const auto end = std::ranges::find_if_not(version, belongs);
        std::string_view text = version.substr(0, static_cast<std::size_t>(end - version.begin()));
        version.remove_prefix(std::max<std::size_t>(text.size(), 1));
        if (text.empty()) {
            continue; // neither: it separates
        }
        if (isNumber) {
            text.remove_prefix(std::min(text.find_first_not_of('0'), text.size()));
        }
        parts.push_back({isNumber, text});
    }
    while (!parts.empty() && parts.back().isZero()) {
        parts.pop_back();
    }
    return parts;
}

int compareParts(const Part& left, const Part& right)
{
    if (left.isNumber != right.isNumber) {
        return left.isNumber ? 1 : -1;
    }
    if (left.isNumber && left.text.size() != right.text.size()) {
        return left.text.size() < right.text.size() ? -1 : 1;
    }
    return left.text.compare(right.text);
}

} // namespace

int QXCompareVersions(std::string_view left, std::string_view right)
{
    const std::vector<Part> lefts = partsOf(left);
    const std::vector<Part> rights = partsOf(right);
    // What is missing counts as zero, which a word comes before.
    for (std::size_t i = 0; i < std::max(lefts.size(), rights.size()); ++i) {
        const int order =
            compareParts(i < lefts.size() ? lefts[i] : Part(), i < rights.size() ? rights[i] : Part());
        if (order != 0) {
            return order;
        }
    }
    return 0;
}
