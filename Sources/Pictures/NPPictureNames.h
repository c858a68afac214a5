// Names for the pictures of an effect. An effect's name is whatever its user typed: slashes, dots, line
// breaks, nothing at all, or a page of text.
#pragma once

#include <set>
#include <string>
#include <string_view>

// The name on one line: control characters are spaces, malformed bytes "?", and a long one ends in "…".
std::string NPPictureTitle(std::string_view effectName);

// The files of a run: each effect gets its own two, whatever it is called.
class NPPictureNames {
public:
    // A file name without its extension, for which "NAME.png" and "NAME curve.png" are not taken yet, nor
    // stand for the test photograph: never empty, never hidden, without what file systems or shells object
    // to, and at most 200 bytes. Letters of any script and emoji stay.
    std::string stem(std::string_view effectName);

    // The test photograph's own.
    static constexpr std::string_view photograph = "photograph";

    // What is added for the plot of an effect's curve.
    static constexpr std::string_view curveSuffix = " curve";

private:
    std::set<std::string> _taken{std::string(photograph)}; // in lower case: not every file system tells
};
