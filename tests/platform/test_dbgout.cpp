#include <fcntl.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <termios.h>

#include "platform_test.h"

namespace {

class Output : public PlatformTest {
  protected:
    // A system log in this test's root. It takes one datagram after the other.
    int Listen() const {
        mkdir(Place("/dev").c_str(), 0755);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const std::string path = Place("/dev/log");
        EXPECT_LT(path.size(), sizeof address.sun_path);
        memcpy(address.sun_path, path.c_str(), path.size());
        const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        EXPECT_EQ(bind(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
        return fd;
    }
    static std::string Receive(int fd) {
        char text[4096];
        const ssize_t size = recv(fd, text, sizeof text, 0);
        return size < 0 ? "" : std::string(text, static_cast<size_t>(size));
    }
};

// Everything but sensor trouble and trace.
TEST_F(Output, QuietLevelsAreOffByDefault) {
    const Outcome outcome = In([] {
        EXPECT_EQ(IDBG_LINUXAPP_DbgOut(130, "error %d\n", 1), 0);
        EXPECT_EQ(IDBG_LINUXAPP_DbgOut(134, "sensor\n"), 0);
        EXPECT_EQ(IDBG_LINUXAPP_Runtime_DbgOut(135, "trace\n"), 0);
        EXPECT_EQ(IDBG_LINUXAPP_Runtime_DbgOut(130, "runtime\n"), 0);
        EXPECT_EQ(IDBG_LINUXAPP_AuditOut(180, "audit\n"), 0);
    });
    EXPECT_EQ(outcome.err, "error 1\nruntime\naudit\n");
    EXPECT_EQ(outcome.out, "");
}

TEST_F(Output, AQuietLevelCostsNoFormatting) {
    // A text at an address that cannot be read, so that formatting it would end the process.
    In([] { EXPECT_EQ(IDBG_LINUXAPP_Runtime_DbgOut(135, "%s", reinterpret_cast<const char *>(16)), 0); });
}

TEST_F(Output, TheEnvironmentTurnsQuietLevelsOn) {
    const auto with = [this](const char *levels) {
        ProcessSetup how = setup();
        how.environment["MIDWARE_DEBUG"] = levels;
        return In(how,
                  [] {
                      IDBG_LINUXAPP_DbgOut(134, "sensor\n");
                      IDBG_LINUXAPP_Runtime_DbgOut(135, "trace\n");
                  })
            .err;
    };
    EXPECT_EQ(with("134"), "sensor\n");
    EXPECT_EQ(with("135"), "trace\n");
    EXPECT_EQ(with("134,135"), "sensor\ntrace\n");
    EXPECT_EQ(with("all"), "sensor\ntrace\n");
    EXPECT_EQ(with("1340 x"), "");
    EXPECT_EQ(with(""), "");
}

TEST_F(Output, OneMessageIsOneLineAndSteersNoTerminal) {
    const auto line = [this](const char *text) {
        return In([text] { EXPECT_EQ(IDBG_LINUXAPP_DbgOut(130, "<%s>\n\n", text), 0); }).err;
    };
    EXPECT_EQ(line("two\nlines\r\tand \x1b[31mred\x7f\x01"),
              "<two\\nlines\\r\\tand \\x1b[31mred\\x7f\\x01>\n");
    EXPECT_EQ(line("na\xc3\xafve \xe2\x82\xac \xf0\x9f\x92\xbe"),
              "<na\xc3\xafve \xe2\x82\xac \xf0\x9f\x92\xbe>\n");
    EXPECT_EQ(line("\xc2\x9b"
                   "31m \x9b"),
              "<\\xc2\\x9b31m \\x9b>\n");                                               // C1 controls
    EXPECT_EQ(line("\xe2\x80\xae\xe2\x81\xa6"), "<\\xe2\\x80\\xae\\xe2\\x81\\xa6>\n");  // turns of direction
    EXPECT_EQ(line("\xc3"), "<\\xc3>\n");                                               // cut short
    EXPECT_EQ(line("\xc0\xaf\xe0\x80\x80\xed\xa0\x80\xf4\x90\x80\x80\xff"),
              "<\\xc0\\xaf\\xe0\\x80\\x80\\xed\\xa0\\x80\\xf4\\x90\\x80\\x80\\xff>\n");  // not UTF-8
}

TEST_F(Output, AVeryLongMessageIsCut) {
    const std::string text(5000, 'x');
    const std::string bells(5000, '\a');
    const auto lines = LinesOf(In([&] {
                                   IDBG_LINUXAPP_DbgOut(130, "%s\n", text.c_str());
                                   IDBG_LINUXAPP_DbgOut(130, "%s\n", bells.c_str());
                               }).err);
    ASSERT_EQ(lines.size(), 2u);
    for (const auto &line : lines) {
        EXPECT_LT(line.size(), 2048u);
        EXPECT_GT(line.size(), 2000u);
        EXPECT_EQ(line.substr(line.size() - 3), "...");
    }
}

TEST_F(Output, AFormatThatWritesIsRefused) {
    const Outcome outcome = In([] {
        int victim = 4711;
        EXPECT_LT(IDBG_LINUXAPP_DbgOut(130, "abc%n\n", &victim), 0);
        const char *none = nullptr;
        EXPECT_LT(IDBG_LINUXAPP_DbgOut(130, none, 0), 0);
        EXPECT_EQ(victim, 4711);
    });
    EXPECT_EQ(outcome.err, "");
}

TEST_F(Output, ErrnoStays) {
    In([] {
        errno = 4711;
        IDBG_LINUXAPP_DbgOut(130, "message\n");
        EXPECT_EQ(errno, 4711);
        IDBG_LINUXAPP_Runtime_DbgOut(135, "message\n");
        EXPECT_EQ(errno, 4711);
        close(STDERR_FILENO);
        EXPECT_LT(IDBG_LINUXAPP_DbgOut(130, "message\n"), 0);
        EXPECT_EQ(errno, 4711);
    });
}

TEST_F(Output, GoesToTheSystemLogWhereThereIsOne) {
    const int log = Listen();
    ProcessSetup how = setup();
    how.environment["MIDWARE_DEBUG"] = "all";
    pid_t pid = 0;
    Process process(how, [] {
        IDBG_LINUXAPP_DbgOut(130, "error\n");
        IDBG_LINUXAPP_DbgOut(134, "sensor\n");
        IDBG_LINUXAPP_Runtime_DbgOut(135, "trace\n");
        IDBG_LINUXAPP_AuditOut(180, "audit\n");
        IDBG_LINUXAPP_DbgOut(131, "other\n");
    });
    pid = process.pid();
    const Outcome outcome = process.Wait();
    EXPECT_EQ(outcome.err, "");
    const std::string tag = "midware_platform_tests[" + std::to_string(pid) + "]: ";
    EXPECT_EQ(Receive(log), "<27>" + tag + "error");   // daemon, error
    EXPECT_EQ(Receive(log), "<31>" + tag + "sensor");  // daemon, debug
    EXPECT_EQ(Receive(log), "<31>" + tag + "trace");
    EXPECT_EQ(Receive(log), "<85>" + tag + "audit");  // private security messages, notice
    EXPECT_EQ(Receive(log), "<30>" + tag + "other");  // daemon, information
    EXPECT_EQ(Receive(log), "");
    close(log);
}

TEST_F(Output, AFullSystemLogIsNotWaitedFor) {
    const int log = Listen();
    const Outcome outcome = In([] {
        for (int i = 0; i < 5000; ++i) EXPECT_EQ(IDBG_LINUXAPP_DbgOut(130, "message %d\n", i), 0);
    });
    EXPECT_NE(outcome.err, "");  // what did not fit went to standard error
    close(log);
}

TEST_F(Output, ATerminalShowsItAsWell) {
    const int log = Listen();
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (terminal < 0 || grantpt(terminal) != 0 || unlockpt(terminal) != 0)
        GTEST_SKIP() << "no pseudo-terminals here";
    char name[64];
    ASSERT_EQ(ptsname_r(terminal, name, sizeof name), 0);
    const int other = open(name, O_RDWR | O_NOCTTY);
    ASSERT_GE(other, 0);
    In([&] {
        dup2(other, STDERR_FILENO);
        EXPECT_EQ(IDBG_LINUXAPP_DbgOut(130, "message\n"), 0);
    });
    char text[64] = "";
    EXPECT_GT(read(terminal, text, sizeof text - 1), 0);
    EXPECT_EQ(std::string(text).substr(0, 7), "message");
    EXPECT_NE(Receive(log), "");
    close(other);
    close(terminal);
    close(log);
}

}  // namespace
