// Record parsing: reads and assembles a generated S3 image of 16 MiB of data (about 41 MiB of
// text) and compares a whole process that loads it with srec_cat converting the same file to
// binary. Prints the time ratio (goal: at most 0.25) and our peak memory against the text size
// (goal: below 3).

#include "firmware/CFirmwareFile.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

extern char **environ;

namespace {

constexpr std::uint32_t kImageBytes = 16u << 20;
constexpr std::uint32_t kRecordBytes = 32;
constexpr int kRuns = 5;

using Clock = std::chrono::steady_clock;

void AppendHex(std::string &text, unsigned value, int digits)
{
    static constexpr char kDigits[] = "0123456789ABCDEF";
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4)
        text.push_back(kDigits[(value >> shift) & 0xF]);
}

// A record with an address of addressBytes bytes and its checksum.
void AppendRecord(std::string &text, char type, int addressBytes, std::uint32_t address,
                  const std::uint8_t *data, std::size_t length)
{
    const unsigned count = unsigned(addressBytes + length + 1);
    unsigned sum = count;
    for (int i = 0; i < addressBytes; ++i)
        sum += address >> (8 * i) & 0xFF;
    text += 'S';
    text += type;
    AppendHex(text, count, 2);
    AppendHex(text, address, 2 * addressBytes);
    for (std::size_t i = 0; i < length; ++i) {
        AppendHex(text, data[i], 2);
        sum += data[i];
    }
    AppendHex(text, ~sum & 0xFF, 2);
    text += "\r\n";
}

// Writes the image record by record, so that this process stays small: a child's peak memory as
// the kernel reports it starts from its parent's.
std::uint64_t WriteImage(const std::string &path)
{
    std::ofstream file(path, std::ios::binary);
    std::string text;
    const char header[] = "lichtwart bench";
    AppendRecord(text, '0', 2, 0, reinterpret_cast<const std::uint8_t *>(header), sizeof header - 1);
    std::uint8_t data[kRecordBytes];
    std::uint32_t seed = 12345;
    std::uint64_t written = 0;
    for (std::uint32_t address = 0; address < kImageBytes; address += kRecordBytes) {
        for (auto &byte : data) {
            seed = seed * 1103515245u + 12345u;
            byte = std::uint8_t(seed >> 16);
        }
        AppendRecord(text, '3', 4, 0x08000000u + address, data, sizeof data);
        file << text;
        written += text.size();
        text.clear();
    }
    AppendRecord(text, '7', 4, 0x08000000u, nullptr, 0);
    file << text;
    return written + text.size();
}

struct ProcessFigures
{
    double seconds = 0;
    long peakKiB = 0;
    int status = -1;
};

// Runs a program to its end; its wall time and peak resident memory.
ProcessFigures RunProcess(std::vector<std::string> arguments)
{
    std::vector<char *> argv;
    for (auto &argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    ProcessFigures figures;
    const auto start = Clock::now();
    pid_t pid = 0;
    if (posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ) != 0) {
        posix_spawn_file_actions_destroy(&actions);
        return figures;
    }
    rusage usage{};
    wait4(pid, &figures.status, 0, &usage);
    figures.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    figures.peakKiB = usage.ru_maxrss;
    posix_spawn_file_actions_destroy(&actions);
    return figures;
}

ProcessFigures BestOf(const std::vector<std::string> &arguments)
{
    ProcessFigures best;
    for (int run = 0; run < kRuns; ++run) {
        const ProcessFigures figures = RunProcess(arguments);
        if (run == 0 || figures.seconds < best.seconds)
            best = figures;
    }
    return best;
}

double InProcessSeconds(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    const ByteVector bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    double best = 0;
    for (int run = 0; run < kRuns; ++run) {
        CFirmwareFile firmware;
        firmware.SetFirmwareBytes(bytes, true);
        const auto start = Clock::now();
        firmware.ParseRecords();
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        if (firmware.GetTotalSize() != std::int32_t(kImageBytes)) {
            std::fprintf(stderr, "bench_records: the image did not assemble to %u bytes\n", kImageBytes);
            std::exit(1);
        }
        if (run == 0 || seconds < best)
            best = seconds;
    }
    return best;
}

// The child process: loads the file as the upgrade would load a raw image.
int LoadOnly(const char *path)
{
    CFirmwareFile firmware;
    firmware.Load(path, true, true);
    std::printf("%d\n", firmware.GetTotalSize());
    return firmware.GetTotalSize() == std::int32_t(kImageBytes) ? 0 : 1;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc == 3 && std::strcmp(argv[1], "--load") == 0)
        return LoadOnly(argv[2]);

    const auto folder = std::filesystem::temp_directory_path() /
                        ("lichtwart-bench-records-" + std::to_string(getpid()));
    std::filesystem::create_directories(folder);
    const std::string path = (folder / "big.mhx").string();
    const double textMiB = double(WriteImage(path)) / (1 << 20);
    std::printf("image: %u MiB of data in %.1f MiB of S3 text\n", kImageBytes >> 20, textMiB);

    const ProcessFigures ours = BestOf({"/proc/self/exe", "--load", path});
    const ProcessFigures theirs = BestOf({"srec_cat", path, "-o", "/dev/null", "-binary"});
    std::printf("whole process, load of the raw image (best of %d): %.1f ms, peak %.1f MiB "
                "(%.2f x text size, goal < 3)\n",
                kRuns, ours.seconds * 1e3, ours.peakKiB / 1024.0, ours.peakKiB / 1024.0 / textMiB);
    if (ours.status != 0)
        std::printf("our load process failed (status %d)\n", ours.status);
    if (theirs.status == 0)
        std::printf("srec_cat big.mhx -o /dev/null -binary (best of %d): %.1f ms, peak %.1f MiB\n"
                    "time ratio ours / srec_cat: %.3f (goal <= 0.25)\n",
                    kRuns, theirs.seconds * 1e3, theirs.peakKiB / 1024.0,
                    ours.seconds / theirs.seconds);
    else
        std::printf("srec_cat did not run (install the srecord package for the comparison)\n");

    const double parse = InProcessSeconds(path);
    std::printf("parse and assemble in process (best of %d): %.1f ms, %.0f MiB/s of text\n", kRuns,
                parse * 1e3, textMiB / parse);
    std::filesystem::remove_all(folder);
    return 0;
}
