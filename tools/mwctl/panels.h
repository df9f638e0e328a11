// What `mwctl top` shows, and where: panels of lines, laid out for a screen of any size.
#ifndef MWCTL_PANELS_H
#define MWCTL_PANELS_H

#include <string>
#include <vector>

#include "read.h"

namespace mwctl {

enum class Mark : uint8_t { kNone, kGood, kBad };

// A line of a panel; what is left is cut when there is no room for both.
struct Row {
    std::string left;
    std::string right;
    Mark mark = Mark::kNone;
};

struct Panel {
    std::string title;
    std::vector<Row> rows;
};

// Every text is safe to print.
std::vector<Panel> PanelsOf(const std::vector<ModuleReading> &readings);
// The line above them.
std::string HeadOf(const std::vector<ModuleReading> &readings);

// One row in so many columns.
std::string LineOf(const Row &row, size_t columns);

// Where a panel lies: `lines` of them with its title.
struct Box {
    size_t x, y, columns, lines;
};
// Places for all panels: in one column or, where the screen is wide enough, in several.
std::vector<Box> Arrange(const std::vector<Panel> &panels, size_t columns, size_t lines);

}  // namespace mwctl

#endif
