#include "screen.h"

#include <curses.h>
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cstdlib>

namespace mwctl {
namespace {

constexpr short kGoodPair = 1;
constexpr short kBadPair = 2;

// A crash leaves the terminal in order as well.
void RestoreAndDie(int signal) {
    endwin();
    raise(signal);
}

void RestoreOnCrash() {
    struct sigaction action {};
    action.sa_handler = RestoreAndDie;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_NODEFER);
    for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT}) {
        struct sigaction before {};
        if (sigaction(signal, nullptr, &before) == 0 && before.sa_handler == SIG_DFL)
            sigaction(signal, &action, nullptr);
    }
}

int AttributesOf(Screen::Look look, bool colour) {
    switch (look) {
        case Screen::Look::kPlain:
            return A_NORMAL;
        case Screen::Look::kTitle:
            return A_BOLD;
        case Screen::Look::kSelected:
            return A_BOLD | A_REVERSE;
        case Screen::Look::kGood:
            return colour ? static_cast<int>(COLOR_PAIR(kGoodPair)) : A_NORMAL;
        case Screen::Look::kBad:
            return static_cast<int>(A_BOLD) | (colour ? static_cast<int>(COLOR_PAIR(kBadPair)) : 0);
    }
    return A_NORMAL;
}

}  // namespace

std::string Screen::Open() {
    if (isatty(STDIN_FILENO) == 0 || isatty(STDOUT_FILENO) == 0) return "there is no terminal";
    if (newterm(nullptr, stdout, stdin) == nullptr)
        return "this kind of terminal (TERM) is not known, or cannot do it";
    open_ = true;
    RestoreOnCrash();
    // Messages of the library would be written over the screen.
    errors_ = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC); nowhere >= 0) {
        dup2(nowhere, STDERR_FILENO);
        close(nowhere);
    }
    cbreak();
    noecho();
    nonl();
    keypad(stdscr, TRUE);
    nodelay(stdscr, TRUE);
    curs_set(0);
    set_escdelay(50);
    const char *no_colour = std::getenv("NO_COLOR");
    colour_ = (no_colour == nullptr || *no_colour == '\0') && has_colors();
    if (colour_) {
        start_color();
        use_default_colors();
        init_pair(kGoodPair, COLOR_GREEN, -1);
        init_pair(kBadPair, COLOR_RED, -1);
    }
    return {};
}

void Screen::Close() {
    if (!open_) return;
    open_ = false;
    endwin();
    if (errors_ >= 0) {
        dup2(errors_, STDERR_FILENO);
        close(errors_);
    }
}

size_t Screen::columns() const { return static_cast<size_t>(COLS); }
size_t Screen::lines() const { return static_cast<size_t>(LINES); }

void Screen::Clear() { erase(); }

void Screen::Put(size_t x, size_t y, const std::string &text, Look look) {
    attrset(AttributesOf(look, colour_));
    mvaddnstr(static_cast<int>(y), static_cast<int>(x), text.c_str(), static_cast<int>(text.size()));
    attrset(A_NORMAL);
}

void Screen::Show() { refresh(); }

Screen::Key Screen::Take() {
    switch (getch()) {
        case 'q':
        case 'Q':
            return Key::kQuit;
        case KEY_UP:
        case 'k':
            return Key::kUp;
        case KEY_DOWN:
        case 'j':
            return Key::kDown;
        case KEY_PPAGE:
            return Key::kPageUp;
        case KEY_NPAGE:
        case ' ':
            return Key::kPageDown;
        case KEY_HOME:
            return Key::kHome;
        case KEY_END:
            return Key::kEnd;
        case '\t':
        case KEY_RIGHT:
            return Key::kNext;
        case KEY_BTAB:
        case KEY_LEFT:
            return Key::kPrevious;
        case '\r':
        case '\n':
        case KEY_ENTER:
        case 'z':
            return Key::kZoom;
        case 'r':
        case KEY_RESIZE:
            return Key::kRefresh;
        default:
            return Key::kNone;
    }
}

}  // namespace mwctl
