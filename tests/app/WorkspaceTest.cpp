#include "app/Workspace.h"

#include "support/Support.h"

#include <cstdlib>

namespace peekmend::test {
namespace {

TEST(Workspace, OpensAndLaunchesWhatTheDesktopKnowsAndNothingElse) {
    const TemporaryFolder home;
    for (const char* const variable : {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME"}) {
        ::setenv(variable, home.path().c_str(), 1);
    }
    const std::string note = home / "note";
    const std::string program = home.writeScript("program", "echo \"$1\" >'" + note + "'\n");
    home.write("applications/known.desktop", "[Desktop Entry]\nType=Application\n"
                                             "Name=Known Program\nName[C]=Translated\nExec=" +
                                                 program + " %u\n");
    home.write("mimeapps.list", "[Default Applications]\nx-scheme-handler/known=known.desktop\n");

    const auto hasNoted = [&](const std::string& text) {
        return eventually([&] { return readFile(note) == text + "\n"; });
    };
    EXPECT_TRUE(workspace::openURL("known:a page?x=%20'"));
    EXPECT_TRUE(hasNoted("known:a page?x=%20'"));
    EXPECT_TRUE(workspace::launchApplication("Known Program"));
    EXPECT_TRUE(hasNoted(""));
    for (const char* const address : {"", "no address", "/known", "unknown:page"}) {
        EXPECT_FALSE(workspace::openURL(address)) << address;
    }
    for (const char* const name : {"", "known", "Known", "Translated", "--help"}) {
        EXPECT_FALSE(workspace::launchApplication(name)) << name;
    }
}

} // namespace
} // namespace peekmend::test
