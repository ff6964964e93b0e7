#include "ToolTest.h"

#include <algorithm>

namespace peekmend {
namespace {

namespace fs = std::filesystem;

class Pluginkit : public ToolTest {};

/// Identifiers that would forge the lines of a listing or be no part of one.
const std::string unlistable[] = {
    "",           "nodot",     "org.tab\tx", "org.line\nx", "org.blank x", "org.wide\u3000x",
    "org.par(1)", "+org.plus", "-org.minus", "org.\xFF"};

TEST_F(Pluginkit, ListsBundlesInOrderWithTheirMarks) {
    writeBundle("Applications/B.app/Contents/PlugIns/One.appex", "org.b.One", "1.0");
    writeBundle("Applications/B.app/Contents/Extensions/Two.appex", "org.b.Two", "(beta)(2)");
    writeBundle("Applications/A.app/PlugIns/Flat.appex", "org.a.Flat", "");
    writeBundle("Applications/Tools/Größe 1.app/Contents/PlugIns/x.appex", "org.t.Size", "2");
    writeBundle("Applications/Z.appex", "org.z", "3");
    writeBundle("Applications/Z2.appex", "org.z", "4");
    writeBundle("Applications/.Hidden.app/Contents/PlugIns/x.appex", "org.hidden.X");
    writeBundle("Applications/1/2/3/4/Deep.appex", "org.deep.X");
    writeBundle("Applications/Other.appex", "org.other.X");
    run("sed -i s/quicklook.preview/share/ Applications/Other.appex/Contents/Info.plist;"
        "pluginkit -e use -i org.b.One; pluginkit -e ignore -i org.z");

    const std::string first =
        "     org.a.Flat()\t~/Applications/A.app/PlugIns/Flat.appex\n"
        "+    org.b.One(1.0)\t~/Applications/B.app/Contents/PlugIns/One.appex\n"
        "     org.b.Two((beta)(2))\t~/Applications/B.app/Contents/Extensions/Two.appex\n"
        "     org.t.Size(2)\t~/Applications/Tools/Größe 1.app/Contents/PlugIns/x.appex\n"
        "-    org.z(3)\t~/Applications/Z.appex\n";
    const std::string all = first + "-    org.z(4)\t~/Applications/Z2.appex\n";
    EXPECT_EQ(listing("-m -v"), first);
    EXPECT_EQ(listing("-m -D -v"), all);
    EXPECT_EQ(listing("-m -p com.apple.quicklook.preview -A -v"), all);
    EXPECT_EQ(run("pluginkit -m -i org.z").stdoutBytes, "-    org.z(3)\n");
    EXPECT_EQ(run("pluginkit -m -p com.apple.share").stdoutBytes, "");
}

TEST_F(Pluginkit, KeepsThePathsOfLinksAndEndsInLoops) {
    writeBundle("elsewhere/Real.app/Contents/PlugIns/x.appex", "org.real");
    writeBundle("elsewhere/Folder/y.appex", "org.folder");
    run("cd Applications && ln -s ../elsewhere/Real.app Link.app && ln -s ../elsewhere/Folder . && "
        "ln -s . Loop && ln -s Self.appex Self.appex");
    EXPECT_EQ(listing(), "     org.real(1)\t~/Applications/Link.app/Contents/PlugIns/x.appex\n");
}

TEST_F(Pluginkit, LeavesOutWhatWouldForgeLines) {
    std::ptrdiff_t count = 0;
    const auto path = [&](const std::string& name) {
        return "Applications/" + name + std::to_string(++count) + ".appex";
    };
    for (const std::string& identifier : unlistable) {
        writeBundle(path("identifier"), identifier);
    }
    for (const char* version : {"1&#10;+ org.x(1)", "1&#x85;", "1&#x2028;", "1\t/x"}) {
        writeBundle(path("version"), "org.version", version);
    }
    for (const char* name : {"line\n", "bytes\xFF", "tab\t"}) {
        writeBundle(path(name), "org.path");
    }
    folder.write(path("damaged") + "/Contents/Info.plist", "damaged");
    writeBundle("Applications/z.appex", "org.good");
    EXPECT_EQ(listing(), "     org.good(1)\t~/Applications/z.appex\n");
    const std::string notes = run("pluginkit -m").stderrBytes;
    EXPECT_EQ(std::ranges::count(notes, '\n'), count) << notes;
}

TEST_F(Pluginkit, RefusesWrongUsage) {
    for (const std::string arguments :
         {"", "-x", "-m extra", "-m -p", "-m -i", "-e use", "-e maybe -i org.x",
          "-e use -i org.x -i org.y", "-m -e use -i org.x", "-e use -v -i org.x", "-i org.x", "-a",
          "-r", "-a ''"}) {
        const auto result = run("pluginkit " + arguments);
        EXPECT_EQ(result.exitStatus, 64) << arguments;
        EXPECT_EQ(result.stdoutBytes, "");
        EXPECT_NE(result.stderrBytes.find("Usage:"), std::string::npos);
    }
    EXPECT_TRUE(run("pluginkit --help").stdoutBytes.starts_with("Usage:"));
    EXPECT_FALSE(fs::exists(registry));
}

TEST_F(Pluginkit, FailsWhenTheListingCannotBeWritten) {
    writeBundle("Applications/A.appex", "org.a");
    EXPECT_EQ(run("pluginkit -m >/dev/full").exitStatus, 1);
    // A pipe whose reader has gone.
    EXPECT_EQ(run("mkfifo p && exec 3<>p 4>p 3<&- && pluginkit -m >&4").exitStatus, 1);
}

TEST_F(Pluginkit, ElectsAndTakesElectionsBack) {
    // What is not installed can be elected as well, with a note.
    const auto early = run("pluginkit -e ignore -i org.a");
    EXPECT_EQ(early.exitStatus, 0);
    EXPECT_NE(early.stderrBytes.find("org.a"), std::string::npos);
    writeBundle("Applications/A.appex", "org.a");
    EXPECT_EQ(run("pluginkit -m -i org.a").stdoutBytes, "-    org.a(1)\n");
    const std::string cases[][2] = {
        {"use", "+"}, {"ignore", "-"}, {"default", " "}, {"default", " "}};
    for (const auto& [word, mark] : cases) {
        const auto result = run("pluginkit -e " + word + " -i org.a && pluginkit -m -i org.a");
        EXPECT_EQ(result.stdoutBytes, mark + "    org.a(1)\n");
        EXPECT_EQ(result.stderrBytes, "");
    }
    const std::string before = test::readFile(registry);
    for (const std::string& identifier : unlistable) {
        const auto result = run("pluginkit -e use -i '" + identifier + "'");
        EXPECT_EQ(result.exitStatus, 1) << identifier;
        EXPECT_NE(result.stderrBytes, "");
    }
    EXPECT_EQ(test::readFile(registry), before);
}

TEST_F(Pluginkit, LosesNoElectionOfManyAtOnce) {
    // What a killed program left behind is in nobody's way.
    folder.write(".local/share/peekmend/registry.json.new", "{");
    for (int number = 1; number <= 20; ++number) {
        const std::string name = "org.x" + std::to_string(number);
        writeBundle("Applications/" + name + ".appex", name);
    }
    run("for number in $(seq 20); do pluginkit -e use -i org.x$number & done; wait");
    EXPECT_EQ(std::ranges::count(listing(), '+'), 20);
    EXPECT_FALSE(fs::exists(registry.string() + ".new"));
}

TEST_F(Pluginkit, LeavesARegistryAloneThatItCannotRead) {
    const auto refuses = [&] {
        for (const std::string arguments : {"-m", "-e use -i org.x", "-a ."}) {
            const auto result = run("pluginkit " + arguments);
            EXPECT_EQ(result.exitStatus, 1);
            EXPECT_NE(result.stderrBytes.find(registry), std::string::npos) << result.stderrBytes;
        }
    };
    // clang-format off
    const std::string contents[] = {
        "", "{", "[]", std::string(200'000, '['), R"({"elections":{},"addedPaths":[]})",
        R"({"version":2,"elections":{},"addedPaths":[]})",
        R"({"version":1,"elections":[],"addedPaths":[]})",
        R"({"version":1,"elections":{"org.x":"perhaps"},"addedPaths":[]})",
        "{\"version\":1,\"elections\":{\"org.\xFF\":\"use\"},\"addedPaths\":[]}",
        R"({"version":1,"elections":{},"addedPaths":["relative"]})",
        R"({"version":1,"elections":{},"addedPaths":[1]})",
        R"({"version":1,"elections":{},"addedPaths":[]})" + std::string(1, '\0') + "x",
        R"({"version":1,"elections":{},"addedPaths":[]})" + std::string(5'000'000, ' ')};
    // clang-format on
    for (const std::string& content : contents) {
        SCOPED_TRACE(content.substr(0, 80));
        folder.write(".local/share/peekmend/registry.json", content);
        refuses();
        EXPECT_EQ(test::readFile(registry), content);
    }
    run("cd .local/share/peekmend && rm registry.json && mkfifo registry.json");
    refuses();
    EXPECT_TRUE(fs::is_fifo(registry));
}

TEST_F(Pluginkit, AddsAndRemovesPlaces) {
    writeBundle("Größe & mehr/In.appex", "org.in");
    writeBundle("App.app/Contents/PlugIns/x.appex", "org.app");
    folder.write("file.appex", "");
    const std::string in = "     org.in(1)\t~/Größe & mehr/In.appex\n";
    const std::string app = "     org.app(1)\t~/App.app/Contents/PlugIns/x.appex\n";
    run("pluginkit -a 'Größe & mehr/' ~/App.app; pluginkit -a \"$HOME/Größe & mehr\"");
    EXPECT_EQ(listing(), in + app);
    for (const std::string arguments :
         {"-a missing.appex", "-a file.appex", "-a missing.appex .", "-r App.app never-added"}) {
        const auto result = run("pluginkit " + arguments);
        EXPECT_EQ(result.exitStatus, 1) << arguments;
        EXPECT_NE(result.stderrBytes, "");
    }
    EXPECT_EQ(listing(), in + app);
    run("pluginkit -r App.app/");
    EXPECT_EQ(listing(), in);
}

TEST_F(Pluginkit, KeepsItsDataWhereTheUserSays) {
    run("XDG_DATA_HOME=relative pluginkit -e use -i org.x");
    EXPECT_TRUE(fs::exists(registry));
    run("XDG_DATA_HOME=~/new/data pluginkit -e use -i org.x");
    EXPECT_TRUE(fs::exists(home / "new/data/peekmend/registry.json"));
    EXPECT_EQ(fs::status(home / "new/data").permissions(), fs::perms::owner_all);
}

} // namespace
} // namespace peekmend
