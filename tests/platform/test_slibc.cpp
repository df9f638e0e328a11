#include <memory>

#include "platform_test.h"

namespace {

using CopyFunction = int (*)(void *, size_t, const void *, size_t);
using FillFunction = int (*)(void *, size_t, int, size_t);
using PrintFunction = int (*)(char *, size_t, const char *, ...);

const char kZeros[8] = {};

class Copies : public ::testing::TestWithParam<CopyFunction> {
  protected:
    char dest_[8] = {'1', '2', '3', '4', '5', '6', '7', '8'};
};

TEST_P(Copies, CopyTheBytesAndNoOthers) {
    EXPECT_EQ(GetParam()(dest_, sizeof dest_, "abc", 3), 0);
    EXPECT_EQ(memcmp(dest_, "abc45678", 8), 0);
    EXPECT_EQ(GetParam()(dest_, 3, "xyz", 3), 0);
    EXPECT_EQ(memcmp(dest_, "xyz45678", 8), 0);
    EXPECT_EQ(GetParam()(dest_, sizeof dest_, "abc", 0), 0);
    EXPECT_EQ(memcmp(dest_, "xyz45678", 8), 0);
}

TEST_P(Copies, OneThatDoesNotFitLeavesTheDestinationZero) {
    EXPECT_EQ(GetParam()(dest_, 5, "abcdef", 6), ERANGE);
    EXPECT_EQ(memcmp(dest_,
                     "\0\0\0\0\0"
                     "678",
                     8),
              0);
}

TEST_P(Copies, NullIsInvalid) {
    EXPECT_EQ(GetParam()(nullptr, 8, "abc", 3), EINVAL);
    EXPECT_EQ(GetParam()(dest_, sizeof dest_, nullptr, 3), EINVAL);
    EXPECT_EQ(memcmp(dest_, kZeros, 8), 0);
}

TEST_P(Copies, AnImpossibleSizeIsNotEmptied) {
    EXPECT_EQ(GetParam()(dest_, SIZE_MAX - 1, "abc", SIZE_MAX), ERANGE);
    EXPECT_EQ(memcmp(dest_, "12345678", 8), 0);
}

TEST_P(Copies, OverlappingBytesArriveWhole) {
    EXPECT_EQ(GetParam()(dest_ + 1, 7, dest_, 7), 0);
    EXPECT_EQ(memcmp(dest_, "11234567", 8), 0);
}

INSTANTIATE_TEST_SUITE_P(Slibc, Copies, ::testing::Values(memcpy_s, hov_memcpy_s));

class Fills : public ::testing::TestWithParam<FillFunction> {};

TEST_P(Fills, FillTheBytesAndNoOthers) {
    char dest[4] = {'1', '2', '3', '4'};
    EXPECT_EQ(GetParam()(dest, sizeof dest, 'x', 3), 0);
    EXPECT_EQ(memcmp(dest, "xxx4", 4), 0);
    EXPECT_EQ(GetParam()(dest, sizeof dest, 0x141, 4), 0);
    EXPECT_EQ(memcmp(dest, "AAAA", 4), 0);
}

TEST_P(Fills, OneThatDoesNotFitLeavesTheDestinationZero) {
    char dest[4] = {'1', '2', '3', '4'};
    EXPECT_EQ(GetParam()(dest, 3, 'x', 4), ERANGE);
    EXPECT_EQ(memcmp(dest,
                     "\0\0\0"
                     "4",
                     4),
              0);
    EXPECT_EQ(GetParam()(nullptr, 3, 'x', 1), EINVAL);
}

INSTANTIATE_TEST_SUITE_P(Slibc, Fills, ::testing::Values(memset_s, hov_memset_s));

TEST(BoundedText, IsCopiedUpToItsEndOrTheCount) {
    char dest[4] = {'1', '2', '3', '4'};
    EXPECT_EQ(strncpy_s(dest, sizeof dest, "ab", 9), 0);
    EXPECT_EQ(memcmp(dest,
                     "ab\0"
                     "4",
                     4),
              0);
    EXPECT_EQ(strncpy_s(dest, sizeof dest, "abcdef", 3), 0);
    EXPECT_STREQ(dest, "abc");
    EXPECT_EQ(strncpy_s(dest, sizeof dest, "abcdef", 0), 0);
    EXPECT_STREQ(dest, "");
}

TEST(BoundedText, OneThatDoesNotFitLeavesTheDestinationEmpty) {
    char dest[4] = "xyz";
    EXPECT_EQ(strncpy_s(dest, sizeof dest, "abcd", 4), ERANGE);
    EXPECT_STREQ(dest, "");
    EXPECT_EQ(dest[1], 'y');
    EXPECT_EQ(strncpy_s(dest, 1, "a", 1), ERANGE);
    EXPECT_EQ(strncpy_s(dest, 0, "a", 1), EINVAL);
    EXPECT_EQ(strncpy_s(nullptr, 4, "a", 1), EINVAL);
    dest[0] = 'x';
    EXPECT_EQ(strncpy_s(dest, sizeof dest, nullptr, 1), EINVAL);
    EXPECT_STREQ(dest, "");
}

TEST(BoundedText, AFieldWithoutTerminatorIsNotReadBeyondTheCount) {
    const auto field = std::make_unique<char[]>(3);  // the address sanitizer guards its end
    memcpy(field.get(), "abc", 3);
    char dest[8];
    EXPECT_EQ(strncpy_s(dest, sizeof dest, field.get(), 3), 0);
    EXPECT_STREQ(dest, "abc");
    EXPECT_EQ(strnlen_s(field.get(), 3), 3u);
}

TEST(BoundedText, LengthLooksAtNoMoreThanTheMaximum) {
    EXPECT_EQ(strnlen_s("abc", 8), 3u);
    EXPECT_EQ(strnlen_s("abc", 2), 2u);
    EXPECT_EQ(strnlen_s("abc", 0), 0u);
    EXPECT_EQ(strnlen_s(nullptr, 8), 0u);
}

class Prints : public ::testing::TestWithParam<PrintFunction> {};

TEST_P(Prints, CutToFitAndAnswerTheUncutLength) {
    char dest[8];
    EXPECT_EQ(GetParam()(dest, sizeof dest, "%s-%d", "ab", 7), 4);
    EXPECT_STREQ(dest, "ab-7");
    EXPECT_EQ(GetParam()(dest, sizeof dest, "%s", "abcdefghij"), 10);
    EXPECT_STREQ(dest, "abcdefg");
    EXPECT_EQ(GetParam()(dest, 1, "%s", "abc"), 3);
    EXPECT_STREQ(dest, "");
}

TEST_P(Prints, NothingIsWrittenThroughAnArgument) {
    for (const char *format : {"%n", "a%hhn", "%5$n", "%%%n", "%-08.3lln", "%d %*n", "%'jn", "%Ln", "%In"}) {
        int victim = 4711;
        char dest[8] = "xyz";
        EXPECT_LT(GetParam()(dest, sizeof dest, format, &victim, &victim, &victim, &victim, &victim), 0)
            << format;
        EXPECT_STREQ(dest, "") << format;
        EXPECT_EQ(victim, 4711) << format;
    }
    char dest[16];
    EXPECT_EQ(GetParam()(dest, sizeof dest, "%%n%5d%%%s", 1, "n"), 9);
    EXPECT_STREQ(dest, "%n    1%n");
}

TEST_P(Prints, InvalidArgumentsFail) {
    char dest[8] = "xyz";
    EXPECT_LT(GetParam()(nullptr, 8, "a"), 0);
    EXPECT_LT(GetParam()(dest, 0, "a"), 0);
    EXPECT_STREQ(dest, "xyz");
    EXPECT_LT(GetParam()(dest, sizeof dest, nullptr), 0);
    EXPECT_STREQ(dest, "");
}

INSTANTIATE_TEST_SUITE_P(Slibc, Prints, ::testing::Values(snprintf_s, hov_snprintf_s));

TEST(StandardOutput, TakesWholeLines) {
    const Outcome outcome = RunProcess({}, [] {
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([] {
                for (int i = 0; i < 200; ++i)
                    EXPECT_EQ(hov_printf_s("%s:%d Memory init error \n", "f", 12), 24);
            });
        }
        for (auto &thread : threads) thread.join();
        int victim = 4711;
        EXPECT_LT(hov_printf_s("%d%n", 1, &victim), 0);
        const char *none = nullptr;
        EXPECT_LT(hov_printf_s(none, 0), 0);
    });
    EXPECT_TRUE(outcome.Succeeded()) << outcome;
    const auto lines = LinesOf(outcome.out);
    EXPECT_EQ(lines.size(), 800u);
    for (const auto &line : lines) EXPECT_EQ(line, "f:12 Memory init error ");
}

TEST(ErrorTexts, AreThoseOfTheSystemAndStay) {
    const char *missing = hov_strerror_s(ENOENT);
    EXPECT_STREQ(missing, "No such file or directory");
    EXPECT_STREQ(hov_strerror_s(ETIMEDOUT), "Connection timed out");
    EXPECT_STREQ(hov_strerror_s(0), "Success");
    EXPECT_STREQ(hov_strerror_s(99999), "Unknown error");
    EXPECT_STREQ(hov_strerror_s(-1), "Unknown error");
    EXPECT_EQ(missing, hov_strerror_s(ENOENT));
    EXPECT_STREQ(missing, "No such file or directory");
}

}  // namespace
