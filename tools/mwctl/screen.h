// The terminal as a screen. While one lives the terminal belongs to it; at its end, however the program ends,
// the terminal is as it was before.
#ifndef MWCTL_SCREEN_H
#define MWCTL_SCREEN_H

#include <cstddef>
#include <string>

namespace mwctl {

class Screen {
  public:
    enum class Key {
        kNone,
        kQuit,
        kUp,
        kDown,
        kPageUp,
        kPageDown,
        kHome,
        kEnd,
        kNext,
        kPrevious,
        kZoom,
        kRefresh
    };
    enum class Look { kPlain, kTitle, kSelected, kGood, kBad };

    // The problem, or nothing.
    std::string Open();
    ~Screen() { Close(); }
    void Close();

    size_t columns() const;
    size_t lines() const;
    void Clear();
    // Text that is safe to print.
    void Put(size_t x, size_t y, const std::string &text, Look look);
    void Show();
    // A key that was pressed.
    Key Take();

  private:
    bool open_ = false;
    bool colour_ = false;
    int errors_ = -1;  // standard error, which is kept off the screen
};

}  // namespace mwctl

#endif
