// mwctl top: temperatures, fans, power, health, alarms and semaphores on the whole screen.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "command.h"
#include "live.h"
#include "output.h"
#include "panels.h"
#include "screen.h"
#include "text.h"
#include "walk.h"

namespace mwctl {
namespace {

bool once = false;
double interval = 2;

constexpr size_t kPlainWidth = 79;
constexpr size_t kLeastColumns = 20;
constexpr size_t kLeastLines = 6;
constexpr std::string_view kKeys = "q quit  Tab next panel  arrows, PgUp, PgDn scroll  Enter one panel";

std::vector<const Module *> AllModules() {
    std::vector<const Module *> modules;
    for (const Module &module : Modules()) modules.push_back(&module);
    return modules;
}

// Every row in full, one below the other.
std::string Plain(const std::vector<ModuleReading> &readings) {
    std::string text = fmt::format("{}  {}\n", HeadOf(readings), TimeStamp());
    for (const Panel &panel : PanelsOf(readings)) {
        text += fmt::format("\n{}\n", panel.title);
        for (const Row &row : panel.rows) {
            const size_t used = tools::Columns(row.left) + tools::Columns(row.right);
            text += fmt::format("  {}{:{}}{}\n", row.left, "",
                                row.right.empty()        ? 0
                                : used + 3 > kPlainWidth ? 1
                                                         : kPlainWidth - 2 - used,
                                row.right);
        }
    }
    return text;
}

// What is seen of the panels: which one is selected, and how far each is scrolled.
class View {
  public:
    void Update(std::string head, std::vector<Panel> panels) {
        head_ = std::move(head);
        panels_ = std::move(panels);
        first_.resize(panels_.size());
    }

    // False when it is time to go.
    bool Handle(Screen::Key key) {
        const size_t count = std::max<size_t>(panels_.size(), 1);
        const auto scroll = [&](ptrdiff_t rows) {
            if (panels_.empty()) return;
            const ptrdiff_t wanted = static_cast<ptrdiff_t>(first_[selected_]) + rows;
            first_[selected_] = static_cast<size_t>(std::max<ptrdiff_t>(wanted, 0));
        };
        const auto page = static_cast<ptrdiff_t>(std::max<size_t>(page_, 1));
        constexpr ptrdiff_t kAll = 1 << 20;
        switch (key) {
            case Screen::Key::kQuit:
                return false;
            case Screen::Key::kUp:
                scroll(-1);
                break;
            case Screen::Key::kDown:
                scroll(1);
                break;
            case Screen::Key::kPageUp:
                scroll(-page);
                break;
            case Screen::Key::kPageDown:
                scroll(page);
                break;
            case Screen::Key::kHome:
                scroll(-kAll);
                break;
            case Screen::Key::kEnd:
                scroll(kAll);
                break;
            case Screen::Key::kNext:
                selected_ = (selected_ + 1) % count;
                break;
            case Screen::Key::kPrevious:
                selected_ = (selected_ + count - 1) % count;
                break;
            case Screen::Key::kZoom:
                zoomed_ = !zoomed_;
                break;
            case Screen::Key::kRefresh:
            case Screen::Key::kNone:
                break;
        }
        return true;
    }

    void Draw(Screen &screen) {
        const size_t columns = screen.columns();
        const size_t lines = screen.lines();
        screen.Clear();
        if (columns < kLeastColumns || lines < kLeastLines) {
            screen.Put(0, 0, tools::Cut("too small", columns), Screen::Look::kBad);
            return screen.Show();
        }
        screen.Put(0, 0, LineOf({head_, TimeStamp()}, columns - 1), Screen::Look::kTitle);
        screen.Put(0, lines - 1, tools::Cut(std::string(kKeys), columns - 1), Screen::Look::kPlain);
        if (!panels_.empty()) {
            const std::vector<PanelPlace> places = Arrange(panels_, columns, lines - 2);
            for (size_t i = 0; i < panels_.size(); ++i) {
                if (zoomed_ && i == selected_) DrawPanel(screen, i, {0, 0, columns, lines - 2});
                if (!zoomed_) DrawPanel(screen, i, places[i]);
            }
        }
        screen.Show();
    }

  private:
    void DrawPanel(Screen &screen, size_t index, const PanelPlace &place) {
        if (place.lines < 2) return;
        const Panel &panel = panels_[index];
        const size_t rows = panel.rows.size();
        // One line stays empty below, where there is room.
        const size_t room = place.lines - (place.lines > rows + 1 ? 2 : 1);
        size_t &first = first_[index];
        first = std::min(first, rows - std::min(rows, room));
        const size_t last = std::min(rows, first + room);
        if (index == selected_) page_ = room;
        const std::string part = rows > room ? fmt::format("{}-{} of {}", first + 1, last, rows) : "";
        screen.Put(place.x, place.y + 1, LineOf({panel.title, part}, place.columns - 1),
                   index == selected_ ? Screen::Look::kSelected : Screen::Look::kTitle);
        for (size_t row = first; row < last; ++row) {
            const Row &shown = panel.rows[row];
            screen.Put(place.x, place.y + 2 + row - first, LineOf(shown, place.columns - 1),
                       shown.mark == Mark::kBad    ? Screen::Look::kBad
                       : shown.mark == Mark::kGood ? Screen::Look::kGood
                                                   : Screen::Look::kPlain);
        }
    }

    std::string head_;
    std::vector<Panel> panels_;
    std::vector<size_t> first_;
    size_t selected_ = 0;
    size_t page_ = 1;
    bool zoomed_ = false;
};

// True when the screen shall be drawn again by the program started anew.
bool Run(Screen &screen) {
    using Clock = std::chrono::steady_clock;
    Rounds rounds(AllModules());
    AreaWatch area;
    View view;
    auto next = Clock::now();
    while (!Ended()) {
        if (Clock::now() >= next) {
            const AreaWatch::State state = area.Look();
            if (state == AreaWatch::State::kReplaced) return true;
            if (state == AreaWatch::State::kPresent) {
                const std::vector<ModuleReading> readings = rounds.Next();
                view.Update(HeadOf(readings), PanelsOf(readings));
            } else {
                view.Update(area.Why(), {});
            }
            next = Clock::now() + std::chrono::milliseconds(std::llround(interval * 1000));
        }
        view.Draw(screen);
        // A terminal that changes its size interrupts the wait, or is seen at the next step at the latest.
        constexpr auto kStep = std::chrono::milliseconds(250);
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(next - Clock::now());
        if (!Pause(std::clamp(left, std::chrono::milliseconds(0), kStep), true)) return false;
        for (Screen::Key key = screen.Take(); key != Screen::Key::kNone; key = screen.Take()) {
            if (!view.Handle(key)) return false;
        }
    }
    return false;
}

void Top() {
    if (once) {
        if (AreaWatch area; area.Look() == AreaWatch::State::kAbsent) return Fail(area.Why());
        const std::vector<ModuleReading> readings = Rounds(AllModules()).Next();
        return Finish(Plain(readings));
    }
    Screen screen;
    if (const std::string problem = screen.Open(); !problem.empty()) {
        Fail(problem + ": use mwctl top --once");
        exit_code = tools::kUsage;
        return;
    }
    EndOnSignals();
    const bool again = Run(screen);
    screen.Close();
    if (again) {
        StartAgain();
        Fail("the shared area was created anew, and the program could not be started again: do it by hand");
    }
}

void AddTop(cli::App &app) {
    cli::App *top =
        app.add_subcommand("top", "Shows temperatures, fans, power, alarms, health and semaphores live");
    top->add_flag("--once", once, "Prints one screen as plain text, with every line, and ends");
    AddInterval(*top, interval);
    top->footer(
        fmt::format("Keys: {}.\nColours are used unless NO_COLOR is set.\n"
                    "Exit codes: 0 ended as asked, 1 there is no shared area (--once), 2 wrong usage or no "
                    "terminal.",
                    kKeys));
    top->callback(Top);
}

const Command kCommand("top", AddTop, Needs::kRecords);

}  // namespace
}  // namespace mwctl
