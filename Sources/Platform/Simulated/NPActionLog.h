// What the simulated services were asked to do, in order, one line a call: an order of events is then one
// comparison of texts.
#pragma once

#include <string>
#include <vector>

class NPActionLog {
public:
    void add(std::string line) { _lines.push_back(std::move(line)); }
    void clear() { _lines.clear(); }
    const std::vector<std::string>& lines() const { return _lines; }

    // The lines, each with a line feed.
    std::string text() const
    {
        std::string all;
        for (const std::string& line : _lines) {
            all += line + '\n';
        }
        return all;
    }

private:
    std::vector<std::string> _lines;
};
