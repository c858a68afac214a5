// nightpane-table-watch SECONDS PAUSE COMMAND...
//
// Shows from outside what a program does to a display: gives the first CRTC of the X display the neutral
// table, starts the command without its output, reads the table again and again for so many seconds, with a
// pause of so many microseconds, and prints a line for each table that differs from the one before. The
// command goes on when the time is over.
//
//     start NS PROCESS                      when the command was started, and its process id
//     table NS JUMP RED GREEN BLUE NEUTRAL  the largest difference of a sample to the table before, the last
//                                           sample of each channel, and 1 when the table is the neutral one
//     exit NS STATUS                        the command ended
//
// Times are of the monotonic clock in nanoseconds; samples go to 65535.
//
// nightpane-table-watch bare
//
// Prints the processor time in milliseconds of a step of a fade that computes nothing: waking up from a sleep
// of 8 ms, and writing a table. No program's step can take less on this machine, and at this moment.

#include <xcb/randr.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <string_view>
#include <vector>

namespace {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};
template<class Reply> using Owned = std::unique_ptr<Reply, Free>;

using Samples = std::vector<std::uint16_t>; // red, then green, then blue

struct Display {
    xcb_connection_t* connection = nullptr;
    xcb_randr_crtc_t crtc = 0;
    std::size_t size = 0; // samples a channel
};

long long now()
{
    return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
}

Display openDisplay()
{
    Display display;
    display.connection = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(display.connection) != 0) {
        return display;
    }
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(display.connection)).data->root;
    const auto query = xcb_randr_get_screen_resources_current(display.connection, root);
    const Owned<xcb_randr_get_screen_resources_current_reply_t> resources(
        xcb_randr_get_screen_resources_current_reply(display.connection, query, nullptr));
    if (!resources || resources->num_crtcs == 0) {
        return display;
    }
    display.crtc = xcb_randr_get_screen_resources_current_crtcs(resources.get())[0];
    const Owned<xcb_randr_get_crtc_gamma_size_reply_t> size(xcb_randr_get_crtc_gamma_size_reply(
        display.connection, xcb_randr_get_crtc_gamma_size(display.connection, display.crtc), nullptr));
    display.size = size ? size->size : 0;
    return display;
}

Samples neutralTable(std::size_t size)
{
    Samples samples(3 * size);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        samples[i] = static_cast<std::uint16_t>(i % size * 65535 / (size - 1));
    }
    return samples;
}

void writeTable(const Display& display, const Samples& samples)
{
    const std::uint16_t* const red = samples.data();
    xcb_randr_set_crtc_gamma(display.connection, display.crtc, static_cast<std::uint16_t>(display.size), red,
                             red + display.size, red + 2 * display.size);
    xcb_flush(display.connection);
}

// Empty when it cannot be read.
Samples readTable(const Display& display)
{
    const auto query = xcb_randr_get_crtc_gamma(display.connection, display.crtc);
    const Owned<xcb_randr_get_crtc_gamma_reply_t> reply(
        xcb_randr_get_crtc_gamma_reply(display.connection, query, nullptr));
    if (!reply || reply->size != display.size) {
        return {};
    }
    Samples samples;
    for (const std::uint16_t* channel :
         {xcb_randr_get_crtc_gamma_red(reply.get()), xcb_randr_get_crtc_gamma_green(reply.get()),
          xcb_randr_get_crtc_gamma_blue(reply.get())}) {
        samples.insert(samples.end(), channel, channel + display.size);
    }
    return samples;
}

int largestJump(const Samples& before, const Samples& after)
{
    int largest = 0;
    for (std::size_t i = 0; i < after.size(); ++i) {
        largest = std::max(largest, std::abs(int{after[i]} - int{before[i]}));
    }
    return largest;
}

double bareStepMilliseconds(const Display& display)
{
    constexpr int steps = 256;
    Samples table = neutralTable(display.size);
    const std::clock_t before = std::clock();
    for (int i = 0; i < steps; ++i) {
        usleep(8000);
        table[1] = static_cast<std::uint16_t>(i);
        writeTable(display, table);
    }
    const std::clock_t used = std::clock() - before;
    writeTable(display, neutralTable(display.size));
    readTable(display); // returns when the display has taken it
    return static_cast<double>(used) * 1e3 / CLOCKS_PER_SEC / steps;
}

// 0 when it cannot be started.
pid_t started(char** command)
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t process = 0;
    const int error = posix_spawnp(&process, command[0], &actions, nullptr, command, environ);
    posix_spawn_file_actions_destroy(&actions);
    return error == 0 ? process : 0;
}

void watch(const Display& display, pid_t process, long long end, useconds_t pause)
{
    const Samples neutral = neutralTable(display.size);
    Samples shown = neutral;
    bool running = true;
    while (now() < end) {
        const Samples table = readTable(display);
        if (table.empty()) {
            return;
        }
        if (table != shown) {
            const std::size_t size = display.size;
            std::printf("table %lld %d %d %d %d %d\n", now(), largestJump(shown, table), int{table[size - 1]},
                        int{table[2 * size - 1]}, int{table[3 * size - 1]}, table == neutral ? 1 : 0);
            shown = table;
        }
        if (int status = 0; running && waitpid(process, &status, WNOHANG) == process) {
            std::printf("exit %lld %d\n", now(), status);
            running = false;
        }
        usleep(pause);
    }
}

} // namespace

int main(int argc, char** argv)
{
    const bool bare = argc == 2 && std::string_view(argv[1]) == "bare";
    const double seconds = argc > 3 ? std::atof(argv[1]) : 0.0;
    if (!bare && !(seconds > 0.0)) {
        std::fputs("usage: nightpane-table-watch SECONDS PAUSE COMMAND... | bare\n", stderr);
        return 2;
    }
    const Display display = openDisplay();
    if (display.size < 2) {
        std::fputs("nightpane-table-watch: the X display has no table to watch\n", stderr);
        return 1;
    }
    if (bare) {
        std::printf("%.4f\n", bareStepMilliseconds(display));
        return 0;
    }
    writeTable(display, neutralTable(display.size));
    readTable(display); // returns when the display has taken it

    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const long long start = now();
    const pid_t process = started(argv + 3);
    if (process == 0) {
        std::fprintf(stderr, "nightpane-table-watch: %s cannot be started\n", argv[3]);
        return 1;
    }
    std::printf("start %lld %d\n", start, process);
    watch(display, process, start + static_cast<long long>(seconds * 1e9),
          static_cast<useconds_t>(std::atoi(argv[2])));
    return 0;
}
