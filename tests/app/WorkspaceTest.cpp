#include "app/Workspace.h"

#include "support/Support.h"

#include <QLocalServer>

#include <cstdlib>

namespace peekmend::test {
namespace {

/// A user whose desktop knows one program, which notes what it is to open.
class Workspace : public testing::Test {
protected:
    Workspace() {
        for (const char* const variable : {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME"}) {
            ::setenv(variable, home.path().c_str(), 1);
        }
        ::setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + bus).c_str(), 1);
        const std::string program =
            home.writeScript("program", "echo \"$1\" >'" + (home / "note") + "'\n");
        home.write("applications/known.desktop", "[Desktop Entry]\nType=Application\n"
                                                 "Name=Known Program\nName[C]=Translated\nExec=" +
                                                     program + " %u\n");
        home.write("mimeapps.list",
                   "[Default Applications]\nx-scheme-handler/known=known.desktop\n");
    }

    [[nodiscard]] bool hasNoted(const std::string& text) const {
        return eventually([&] { return readFile(home / "note") == text + "\n"; });
    }

    const TemporaryFolder home;
    /// Where the session's bus would listen.
    const std::string bus = home / "bus";
};

TEST_F(Workspace, OpensAndLaunchesWhatTheDesktopKnowsAndNothingElse) {
    EXPECT_TRUE(workspace::openURL("known:a page?x=%20'"));
    EXPECT_TRUE(hasNoted("known:a page?x=%20'"));
    EXPECT_TRUE(workspace::launchApplication("Known Program"));
    EXPECT_TRUE(hasNoted(""));
    // What takes the tool long counts as done, so on a busy machine it may take several calls.
    for (const char* const address : {"", "no address", "/known", "unknown:page"}) {
        EXPECT_TRUE(eventually([&] { return !workspace::openURL(address); })) << address;
    }
    for (const char* const name : {"", "known", "Known", "Translated", "--help"}) {
        EXPECT_TRUE(eventually([&] { return !workspace::launchApplication(name); })) << name;
    }
}

TEST_F(Workspace, DoesNotHangWithADesktopThatIsSilent) {
    QLocalServer silent;
    ASSERT_TRUE(silent.listen(QString::fromStdString(bus)));
    EXPECT_TRUE(workspace::openURL("known:page")) << "it is at it";
    EXPECT_EQ(readFile(home / "note"), "");
    silent.close();
    EXPECT_TRUE(hasNoted("known:page"));
}

} // namespace
} // namespace peekmend::test
