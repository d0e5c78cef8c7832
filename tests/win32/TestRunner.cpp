#include "TestRunner.h"

#include <chrono>
#include <cstdio>
#include <cstring>

namespace {

bool s_failed = false; // the running test
int s_failures = 0;

bool Selected(const char *name, int argc, char **argv, int first)
{
    if (first >= argc)
        return true;
    for (int i = first; i < argc; ++i) {
        if (std::strcmp(argv[i], name) == 0)
            return true;
    }
    return false;
}

} // namespace

std::vector<TestRunner::Entry> &TestRunner::Tests()
{
    static std::vector<Entry> tests;
    return tests;
}

bool TestRunner::Add(const char *name, Test test)
{
    Tests().push_back({name, std::move(test)});
    return true;
}

void TestRunner::Fail(const char *file, int line, const std::string &what)
{
    std::printf("FAIL   %s:%d: %s\n", file, line, what.c_str());
    std::fflush(stdout);
    s_failed = true;
}

bool TestRunner::Failed()
{
    return s_failed;
}

std::string TestRunner::Hex(const std::vector<std::uint8_t> &octets)
{
    std::string text;
    char digits[4];
    for (std::uint8_t octet : octets) {
        std::snprintf(digits, sizeof digits, text.empty() ? "%02X" : " %02X", octet);
        text += digits;
    }
    return text;
}

// Options come first (the program's own, such as the port name, are read by the program);
// the remaining arguments name the tests to run.
int TestRunner::Run(int argc, char **argv)
{
    int first = 1;
    while (first < argc && argv[first][0] == '-')
        ++first;
    int run = 0;
    for (const Entry &entry : Tests()) {
        if (!Selected(entry.name, argc, argv, first))
            continue;
        s_failed = false;
        const auto began = std::chrono::steady_clock::now();
        entry.test();
        const double ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - began).count();
        std::printf("%s %s (%.0f ms)\n", s_failed ? "FAIL  " : "PASS  ", entry.name, ms);
        std::fflush(stdout);
        s_failures += s_failed ? 1 : 0;
        ++run;
    }
    std::printf("Totals: %d passed, %d failed\n", run - s_failures, s_failures);
    return s_failures == 0 && run > 0 ? 0 : 1;
}
