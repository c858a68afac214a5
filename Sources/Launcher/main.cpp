// What the desktop starts at login: becomes the application, which lies beside it as built, or in the programs' folder
// as installed. A program of its own, so that an autostart entry keeps its meaning wherever the application goes.
#include <errno.h>
#include <limits.h>
#include <string.h>
#include <unistd.h>

namespace {

// Returns only when it cannot be done.
void become(const char* folder, const char* way)
{
    char path[PATH_MAX + 64];
    const char* const parts[] = {folder, way, "nightpane"};
    size_t length = 0;
    for (const char* part : parts) {
        const size_t size = strlen(part);
        if (length + size >= sizeof path) {
            errno = ENAMETOOLONG;
            return;
        }
        memcpy(path + length, part, size);
        length += size;
    }
    path[length] = '\0';
    char* const arguments[] = {path, nullptr};
    execv(path, arguments);
}

void say(const char* text)
{
    if (write(STDERR_FILENO, text, strlen(text)) < 0) {
        return; // nobody to tell
    }
}

} // namespace

int main()
{
    char self[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", self, sizeof self - 1);
    self[length < 0 ? 0 : length] = '\0';
    if (char* const slash = strrchr(self, '/')) {
        slash[1] = '\0';
        become(self, "");
        become(self, NP_PROGRAM_PATH "/");
    }
    say("nightpane-launcher: nightpane cannot be started: ");
    say(strerror(errno));
    say("\n");
    return 1;
}
