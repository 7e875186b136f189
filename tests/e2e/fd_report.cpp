// A stand-in for a system command the program runs (the print command): it
// writes its arguments and every descriptor it was given, with what each
// refers to, into the file that AV_FD_REPORT names.
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <map>
#include <string>

int main(int argc, char **argv) {
    const char *report_path = getenv("AV_FD_REPORT");
    if (report_path == nullptr)
        return 2;
    std::string report = "args:";
    for (int i = 1; i < argc; i++)
        report += std::string(" ") + argv[i];
    report += "\n";
    std::map<int, std::string> open_fds;
    if (DIR *dir = opendir("/proc/self/fd")) {
        while (dirent *entry = readdir(dir)) {
            if (entry->d_name[0] == '.' || atoi(entry->d_name) == dirfd(dir))
                continue;
            char target[PATH_MAX];
            std::string link = std::string("/proc/self/fd/") + entry->d_name;
            ssize_t n = readlink(link.c_str(), target, sizeof target - 1);
            open_fds[atoi(entry->d_name)] = n < 0 ? "?" : std::string(target, n);
        }
        closedir(dir);
    }
    for (const auto &[fd, target] : open_fds)
        report += std::to_string(fd) + " " + target + "\n";
    int out = open(report_path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (out < 0 || write(out, report.data(), report.size()) != static_cast<ssize_t>(report.size()))
        return 2;
    close(out);
    return 0;
}
