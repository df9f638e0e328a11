// Standard output and standard error of the programs.
#ifndef TOOLS_OUTPUT_H
#define TOOLS_OUTPUT_H

#include <string_view>

namespace tools {

// Exit codes.
inline constexpr int kDone = 0;
inline constexpr int kFailed = 1;
inline constexpr int kUsage = 2;

// To be called first: gives closed standard files a harmless one, so that nothing else is opened in their
// place, and makes a reader that went away no reason to die.
void PrepareStandardFiles();

// Writes the text to standard output at once. True when it was taken, or when nobody reads any more;
// otherwise says why not.
bool Print(std::string_view program, std::string_view text);

// One line "PROGRAM: TEXT" on standard error.
void Complain(std::string_view program, std::string_view text);

}  // namespace tools

#endif
