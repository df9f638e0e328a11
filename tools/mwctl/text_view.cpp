#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <numeric>

#include "text.h"
#include "value.h"
#include "views.h"

namespace mwctl {
namespace {

constexpr size_t kPageWidth = 79;
constexpr size_t kIndent = 2;
constexpr size_t kLeastWidth = 30;  // of a column whose words are wrapped

struct Line {
    std::string label;
    std::string value;
    enum class Form : uint8_t { kText, kNumber, kWords } form = Form::kText;  // words in a row may be wrapped
};

// What is shown of one record: its plain fields, then what is nested in it.
struct Block {
    std::vector<Line> lines;
    struct Nested {
        std::string heading;
        std::string slot_label;         // of a list; empty for a single record
        std::vector<uint32_t> numbers;  // of the blocks
        std::vector<Block> blocks;
    };
    std::vector<Nested> nested;
};

// What people see of a value; nothing where it says nothing.
std::string Shown(const Field &field, const std::byte *bytes, uint32_t index) {
    if (field.quiet_zero && UnsignedAt(field, bytes, index) == 0 && field.kind != Kind::kFloat) return {};
    if (field.quiet_none && HasNoValue(field, bytes, index)) return {};
    if (field.kind == Kind::kBytes && IsZero(ElementAt(field, bytes, index), field.width)) return {};
    return ValueText(field, bytes, index);
}

std::string AssertedStates(const Layout &layout, const std::byte *bytes) {
    std::vector<std::string> names;
    for (const Field &field : layout.fields) {
        if (!field.IsState()) continue;
        for (uint32_t i = 0; i < std::max(field.count, 1u); ++i) {
            const uint64_t value = UnsignedAt(field, bytes, i);
            const std::string_view name = field.count == 0 ? field.label : CodeName(field, i);
            if (value == 1) names.emplace_back(name);
            if (value > 1) names.push_back(fmt::format("{} ({})", name, value));
        }
    }
    return names.empty() ? "none" : fmt::format("{}", fmt::join(names, ", "));
}

void AddArray(const Field &field, const std::byte *bytes, Block &block) {
    const uint32_t used = ElementsInUse(field, bytes);
    const bool numbered =
        field.kind == Kind::kText || field.kind == Kind::kBytes || field.kind == Kind::kEvent;
    const bool quiet = field.quiet_zero && IsZero(field, bytes);
    Field element = field;
    element.quiet_zero = numbered && field.quiet_zero;  // in a row each number keeps its place
    element.quiet_none = false;
    std::vector<std::string> elements;
    uint32_t last = 0;  // the elements up to the last one that has a value
    for (uint32_t i = 0; i < used; ++i) {
        if (!HasNoValue(field, bytes, i)) last = i + 1;
        std::string shown = Shown(element, bytes, i);
        if (numbered) {
            block.lines.push_back({fmt::format("{} {}", field.label, i + 1), std::move(shown)});
        } else {
            elements.push_back(std::move(shown));
        }
    }
    if (!numbered) {
        if (field.quiet_none) elements.resize(last);
        block.lines.push_back({std::string(field.label),
                               quiet ? "" : fmt::format("{}", fmt::join(elements, " ")), Line::Form::kWords});
    }
}

Line::Form FormOf(const Field &field) {
    switch (field.kind) {
        case Kind::kUnsigned:
        case Kind::kSigned:
        case Kind::kFloat:
            return Line::Form::kNumber;
        case Kind::kBytes:
        case Kind::kFlags:
            return Line::Form::kWords;
        default:
            return Line::Form::kText;
    }
}

Block BlockOf(const Layout &layout, const std::byte *bytes, Chosen chosen) {
    Block block;
    bool states_shown = false;
    for (const Field &field : layout.fields) {
        if (!IsShown(field, bytes, chosen)) continue;
        if (field.kind == Kind::kRecord && field.inlined && field.count == 0) {
            Block inner = BlockOf(*field.layout, ElementAt(field, bytes, 0), Chosen::kAll);
            for (Line &line : inner.lines) {
                line.label = line.label.empty() ? std::string(field.label)
                                                : fmt::format("{} {}", field.label, line.label);
                block.lines.push_back(std::move(line));
            }
            std::move(inner.nested.begin(), inner.nested.end(), std::back_inserter(block.nested));
        } else if (field.kind == Kind::kRecord) {
            Block::Nested nested{
                std::string(field.label), field.count == 0 ? "" : std::string(field.label), {}, {}};
            const uint32_t used = field.count == 0 ? 1 : ElementsInUse(field, bytes);
            for (uint32_t i = 0; i < used; ++i) {
                const std::byte *element = ElementAt(field, bytes, i);
                if (field.count != 0 && field.counted_by < 0 && IsZero(element, field.width)) continue;
                nested.numbers.push_back(field.first_number + i);
                nested.blocks.push_back(BlockOf(*field.layout, element, Chosen::kAll));
            }
            if (!nested.blocks.empty()) block.nested.push_back(std::move(nested));
        } else if (field.IsState()) {
            if (!states_shown)
                block.lines.push_back({"asserted", AssertedStates(layout, bytes), Line::Form::kWords});
            states_shown = true;
        } else if (field.reserved) {
            Field raw = field;
            raw.width = field.size();
            block.lines.push_back(
                {fmt::format("reserved at {}", field.offset), HexAt(raw, bytes, 0, " "), Line::Form::kWords});
        } else if (field.count != 0) {
            AddArray(field, bytes, block);
        } else {
            block.lines.push_back({std::string(field.label), Shown(field, bytes, 0), FormOf(field)});
        }
    }
    return block;
}

// Appends words, in more than one line where they do not fit between this column and the edge of the page.
void AppendWrapped(std::string &out, std::string_view words, size_t column) {
    const size_t room = std::max(kPageWidth - std::min(column, kPageWidth), kLeastWidth);
    while (words.size() > room) {
        const size_t blank = words.rfind(' ', room);
        if (blank == words.npos || blank == 0) break;
        out += words.substr(0, blank);
        out += '\n' + std::string(column, ' ');
        words.remove_prefix(blank + 1);
    }
    out += words;
}

void AppendBlock(std::string &out, const Block &block, size_t indent);

struct Column {
    std::string head;
    Line::Form form;
    std::vector<std::string> cells;

    bool IsEmpty() const {
        return std::all_of(cells.begin(), cells.end(), [](const std::string &cell) { return cell.empty(); });
    }
    size_t Width() const {
        size_t width = tools::Columns(head);
        for (const std::string &cell : cells) width = std::max(width, tools::Columns(cell));
        return width;
    }
};

// One column a label, in the order in which they first come up, but words in a row last: they may be wrapped.
std::vector<Column> ColumnsOf(const std::string &slot_label, const std::vector<uint32_t> &numbers,
                              const std::vector<Block> &blocks) {
    std::vector<Column> columns{{slot_label, Line::Form::kNumber, {}}};
    for (uint32_t number : numbers) columns[0].cells.push_back(fmt::format("{}", number));
    for (size_t slot = 0; slot < blocks.size(); ++slot) {
        for (const Line &line : blocks[slot].lines) {
            auto column = std::find_if(columns.begin() + 1, columns.end(),
                                       [&](const Column &known) { return known.head == line.label; });
            if (column == columns.end()) {
                column = columns.insert(columns.end(),
                                        {line.label, line.form, std::vector<std::string>(blocks.size())});
            }
            column->cells[slot] = line.value;
        }
    }
    std::erase_if(columns, [](const Column &column) { return column.IsEmpty(); });
    std::stable_partition(columns.begin(), columns.end(),
                          [](const Column &column) { return column.form != Line::Form::kWords; });
    return columns;
}

// Slots as a table, a line each. False when they do not fit into one that is as wide as the page.
enum class Width : uint8_t { kPage, kAny };
bool AppendTable(std::string &out, const std::string &slot_label, const std::vector<uint32_t> &numbers,
                 const std::vector<Block> &blocks, size_t indent, Width width) {
    if (std::any_of(blocks.begin(), blocks.end(), [](const Block &block) { return !block.nested.empty(); }))
        return false;

    const std::vector<Column> columns = ColumnsOf(slot_label, numbers, blocks);
    std::vector<size_t> widths;
    for (const Column &column : columns) widths.push_back(column.Width());
    const size_t last =
        indent + std::accumulate(widths.begin(), widths.end() - 1, kIndent * (widths.size() - 1));
    const bool wraps = columns.back().form == Line::Form::kWords;
    const size_t needed = last + (wraps ? kLeastWidth : widths.back());
    if (width == Width::kPage && needed > kPageWidth) return false;

    for (size_t row = 0; row <= blocks.size(); ++row) {
        std::string text(indent, ' ');
        for (size_t c = 0; c < columns.size(); ++c) {
            const Column &column = columns[c];
            std::string cell = row == 0 ? column.head : column.cells[row - 1];
            if (cell.empty()) cell = "-";
            if (c + 1 == columns.size() && wraps) {
                AppendWrapped(text, cell, last);
                continue;
            }
            const std::string pad(widths[c] - tools::Columns(cell), ' ');
            text +=
                (column.form == Line::Form::kNumber ? pad + cell : cell + pad) + std::string(kIndent, ' ');
        }
        text.erase(text.find_last_not_of(' ') + 1);
        out += text + '\n';
    }
    return true;
}

void AppendList(std::string &out, const std::string &slot_label, const std::vector<uint32_t> &numbers,
                const std::vector<Block> &blocks, size_t indent) {
    if (AppendTable(out, slot_label, numbers, blocks, indent, Width::kPage)) return;
    for (size_t i = 0; i < blocks.size(); ++i) {
        out += fmt::format("{:{}}{} {}\n", "", indent, slot_label, numbers[i]);
        AppendBlock(out, blocks[i], indent + kIndent);
    }
}

void AppendBlock(std::string &out, const Block &block, size_t indent) {
    size_t width = 0;
    for (const Line &line : block.lines) {
        if (!line.value.empty()) width = std::max(width, tools::Columns(line.label));
    }
    for (const Line &line : block.lines) {
        if (line.value.empty()) continue;
        out += fmt::format("{:{}}{}{:{}}", "", indent, line.label, "",
                           width - tools::Columns(line.label) + kIndent);
        if (line.form == Line::Form::kWords) {
            AppendWrapped(out, line.value, indent + width + kIndent);
        } else {
            out += line.value;
        }
        out += '\n';
    }
    for (const Block::Nested &nested : block.nested) {
        if (nested.slot_label.empty()) {
            out += fmt::format("{:{}}{}\n", "", indent, nested.heading);
            AppendBlock(out, nested.blocks.front(), indent + kIndent);
            continue;
        }
        AppendList(out, nested.slot_label, nested.numbers, nested.blocks, indent);
    }
}

void AppendRecord(std::string &out, const Reading &reading, Extent extent) {
    const Record &record = *reading.record;
    out += fmt::format("{:{}}{} ({})\n", "", kIndent, record.label, record.name);
    constexpr size_t indent = 2 * kIndent;
    if (!reading.problem.empty()) {
        out += fmt::format("{:{}}could not be read\n", "", indent);
        return;
    }
    std::vector<uint32_t> numbers;
    std::vector<Block> blocks;
    const bool lines_only = record.row != nullptr && extent == Extent::kLine;
    for (const Slot &slot : reading.slots) {
        numbers.push_back(slot.number);
        if (lines_only) {
            std::vector<Note> cells;
            record.row(slot.bytes, cells);
            Block &block = blocks.emplace_back();
            for (const Note &cell : cells) block.lines.push_back({cell.label, tools::Printable(cell.text)});
            continue;
        }
        blocks.push_back(BlockOf(*record.layout, slot.bytes, record.chosen));
        if (!slot.name.empty()) {
            std::vector<Line> &lines = blocks.back().lines;
            lines.insert(lines.begin(), {"name", tools::Printable(slot.name)});
        }
        std::vector<Note> notes;
        if (record.notes != nullptr) record.notes(slot.bytes, notes);
        for (const Note &note : notes) {
            blocks.back().lines.push_back({note.label, tools::Printable(note.text)});
        }
    }
    if (blocks.empty()) {
        out += fmt::format("{:{}}none\n", "", indent);
    } else if (record.capacity == 0) {
        const size_t before = out.size();
        AppendBlock(out, blocks.front(), indent);
        if (out.size() == before) out += fmt::format("{:{}}none\n", "", indent);
    } else if (lines_only) {
        AppendTable(out, std::string(record.slot_label), numbers, blocks, indent, Width::kAny);
    } else {
        AppendList(out, std::string(record.slot_label), numbers, blocks, indent);
    }
    if (record.capacity != 0 && reading.count > record.capacity) {
        out += fmt::format("{:{}}the stored count is {}, more than the {} that there can be\n", "", indent,
                           reading.count, record.capacity);
    }
}

}  // namespace

std::string ToText(const Reading &reading, Extent extent) {
    std::string out;
    AppendRecord(out, reading, extent);
    return out;
}

std::string ToText(const ModuleReading &reading, Extent extent) {
    std::string out = fmt::format("{} ({})\n", reading.module->label, reading.module->name);
    for (const Reading &record : reading.records) AppendRecord(out, record, extent);
    return out;
}

}  // namespace mwctl
