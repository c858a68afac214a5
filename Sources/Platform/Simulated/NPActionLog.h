// What the simulated services were asked to do, in order, one line a call: an order of events is then one
// comparison of texts. From any thread.
#pragma once

#include <mutex>
#include <string>
#include <vector>

class NPActionLog {
public:
    void add(std::string line)
    {
        const std::lock_guard lock(_mutex);
        _lines.push_back(std::move(line));
    }
    void clear()
    {
        const std::lock_guard lock(_mutex);
        _lines.clear();
    }
    std::vector<std::string> lines() const
    {
        const std::lock_guard lock(_mutex);
        return _lines;
    }

    // The lines, each with a line feed.
    std::string text() const
    {
        std::string all;
        for (const std::string& line : lines()) {
            all += line + '\n';
        }
        return all;
    }

private:
    mutable std::mutex _mutex;
    std::vector<std::string> _lines;
};
