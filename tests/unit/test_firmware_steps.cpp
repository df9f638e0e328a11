// The steps of MW_GetFirmwareVersionString have a guard of their own that no caller's length gets as far as. So the
// source is compiled into this program, where they can be called by themselves.
#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

// The source's audit lines come to this program and not to the platform.
#define IDBG_LINUXAPP_AuditOut HearAudit
#include "fwinfo/hov_midfw.cpp"

namespace {

std::vector<std::string> g_audit;
std::vector<int32_t> g_levels;

}  // namespace

int32_t HearAudit(int32_t level, const char *format, ...) {
    char text[256];
    va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    g_levels.push_back(level);
    g_audit.push_back(text);
    return 0;
}

namespace {

TEST(FirmwareSteps, RefuseALengthAboveThatOfAText) {
    const struct {
        const char *name;
        int32_t (*step)(uint32_t, char *, int32_t);
    } kSteps[] = {{"MW_GetBmcVersionString", MW_GetBmcVersionString},
                  {"MW_GetBiosVersionString", MW_GetBiosVersionString}};
    for (const auto &step : kSteps) {
        for (const int32_t length : {65, 1000}) {
            g_audit.clear();
            g_levels.clear();
            char text[1000] = "as it was";
            EXPECT_EQ(step.step(2, text, length), -1);
            EXPECT_STREQ(text, "as it was");
            ASSERT_EQ(g_audit.size(), 1u);
            EXPECT_EQ(g_levels[0], 180);
            const std::string begin = std::string("[") + step.name + ":";
            EXPECT_EQ(g_audit[0].substr(0, begin.size()), begin);
            const size_t line_ends = g_audit[0].find_first_not_of("0123456789", begin.size());
            EXPECT_GT(line_ends, begin.size());
            EXPECT_EQ(g_audit[0].substr(line_ends),
                      "]length " + std::to_string(length) + "  over  FW_STR_MAX_SIZE\n");
        }
    }
}

}  // namespace
