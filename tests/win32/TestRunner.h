#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

// A small asserting test runner for the programs that are cross-compiled for Windows, where the
// GUI toolkit and its test library are not available. Each test is a function; a failed check
// prints where and what, ends that test and makes the program exit with 1.
class TestRunner
{
public:
    using Test = std::function<void()>;

    // Registers a test; used through W32_TEST at namespace scope.
    static bool Add(const char *name, Test test);
    // Runs every registered test, or only those named on the command line after the options.
    static int Run(int argc, char **argv);
    // Records a failed check of the running test.
    static void Fail(const char *file, int line, const std::string &what);
    static bool Failed();

    // How a checked value is printed in a failure.
    template<typename T>
    static std::string Text(const T &value)
    {
        if constexpr (std::is_same_v<T, bool>)
            return value ? "true" : "false";
        else if constexpr (std::is_arithmetic_v<T>)
            return std::to_string(value);
        else if constexpr (std::is_convertible_v<T, std::string>)
            return "\"" + std::string(value) + "\"";
        else if constexpr (std::is_same_v<T, std::vector<std::uint8_t>>)
            return Hex(value);
        else {
            std::string text = "{";
            for (const auto &element : value)
                text += (text.size() > 1 ? ", " : "") + Text(element);
            return text + "}";
        }
    }
    static std::string Hex(const std::vector<std::uint8_t> &octets);

private:
    struct Entry
    {
        const char *name;
        Test test;
    };
    static std::vector<Entry> &Tests();
};

#define W32_CONCAT2(a, b) a##b
#define W32_CONCAT(a, b) W32_CONCAT2(a, b)
#define W32_TEST(name)                                                                                            \
    static void name();                                                                                           \
    static const bool W32_CONCAT(registered_, name) = TestRunner::Add(#name, &name);                               \
    static void name()

// Ends the running test when the condition does not hold.
#define W32_CHECK(condition)                                                                                      \
    do {                                                                                                          \
        if (!(condition)) {                                                                                       \
            TestRunner::Fail(__FILE__, __LINE__, #condition);                                                     \
            return;                                                                                               \
        }                                                                                                         \
    } while (false)

#define W32_CHECK_EQ(actual, expected)                                                                            \
    do {                                                                                                          \
        const auto &w32Actual = (actual);                                                                         \
        const auto &w32Expected = (expected);                                                                     \
        if (!(w32Actual == w32Expected)) {                                                                        \
            TestRunner::Fail(__FILE__, __LINE__,                                                                  \
                             std::string(#actual " == " #expected ": got ") + TestRunner::Text(w32Actual)         \
                                 + ", expected " + TestRunner::Text(w32Expected));                                \
            return;                                                                                               \
        }                                                                                                         \
    } while (false)
