#include "ToolTest.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace peekmend {
namespace {

namespace fs = std::filesystem;

class Pluginkit : public ToolTest {
protected:
    [[nodiscard]] fs::path applications() const { return home / "Applications"; }

    [[nodiscard]] fs::path registry() const { return home / ".local/share/peekmend/registry.json"; }
};

TEST_F(Pluginkit, ListsBundlesInOrderWithTheirMarks) {
    writeBundle(applications() / "B.app/Contents/PlugIns/One.appex", "org.b.One", "1.0");
    writeBundle(applications() / "B.app/Contents/Extensions/Two.appex", "org.b.Two", "(beta)(2)");
    writeBundle(applications() / "A.app/PlugIns/Flat.appex", "org.a.Flat", "");
    writeBundle(applications() / "Tools/Größe 1.app/Contents/PlugIns/x.appex", "org.t.Size", "2");
    writeBundle(applications() / "Z.appex", "org.z", "3");
    writeBundle(applications() / ".Hidden.app/Contents/PlugIns/x.appex", "org.hidden.X", "1");
    writeBundle(applications() / "1/2/3/4/Deep.appex", "org.deep.X", "1");
    writeBundle(applications() / "Other.appex", "org.other.X", "1", "public.data", "exit 0",
                "com.apple.share-services");
    EXPECT_EQ(pluginkit({"-e", "use", "-i", "org.b.One"}).status, 0);
    EXPECT_EQ(pluginkit({"-e", "ignore", "-i", "org.z"}).status, 0);

    const std::string expected =
        "     org.a.Flat()\t~/Applications/A.app/PlugIns/Flat.appex\n"
        "+    org.b.One(1.0)\t~/Applications/B.app/Contents/PlugIns/One.appex\n"
        "     org.b.Two((beta)(2))\t~/Applications/B.app/Contents/Extensions/Two.appex\n"
        "     org.t.Size(2)\t~/Applications/Tools/Größe 1.app/Contents/PlugIns/x.appex\n"
        "-    org.z(3)\t~/Applications/Z.appex\n";
    EXPECT_EQ(listing({"-m", "-D", "-p", "com.apple.quicklook.preview", "-A", "-v"}), expected);
    EXPECT_EQ(pluginkit({"-m", "-i", "org.z"}).output, "-    org.z(3)\n");
    EXPECT_EQ(pluginkit({"-m", "-p", "com.apple.share-services"}).output, "");
}

TEST_F(Pluginkit, ListsFurtherCopiesOnlyOnRequest) {
    writeBundle(applications() / "A.appex", "org.twice", "1");
    writeBundle(applications() / "B.appex", "org.twice", "2");
    const std::string first = "     org.twice(1)\t~/Applications/A.appex\n";
    EXPECT_EQ(listing({"-m", "-v"}), first);
    for (const char* option : {"-A", "-D"}) {
        EXPECT_EQ(listing({"-m", option, "-v"}),
                  first + "     org.twice(2)\t~/Applications/B.appex\n");
    }
}

TEST_F(Pluginkit, KeepsThePathsOfLinksAndEndsInLoops) {
    writeBundle(home / "elsewhere/Real.app/Contents/PlugIns/x.appex", "org.real", "1");
    writeBundle(home / "elsewhere/Folder/y.appex", "org.folder", "1");
    fs::create_directory_symlink(home / "elsewhere/Real.app", applications() / "Link.app");
    fs::create_directory_symlink(home / "elsewhere/Folder", applications() / "Folder");
    fs::create_directory_symlink(applications(), applications() / "Loop");
    fs::create_directory_symlink(applications() / "Self.appex", applications() / "Self.appex");
    EXPECT_EQ(listing(), "     org.real(1)\t~/Applications/Link.app/Contents/PlugIns/x.appex\n");
}

TEST_F(Pluginkit, LeavesOutWhatWouldForgeLines) {
    struct Case {
        const char* folder;
        const char* identifier;
        const char* version;
    };

    const std::vector<Case> cases{
        {"a.appex", "org.tab\torg.x(1)", "1"},
        {"b.appex", "org.line&#10;org.x(1)", "1"},
        {"c.appex", "org.blank x", "1"},
        {"d.appex", "org.wide&#x3000;x", "1"},
        {"e.appex", "org.paren(1)", "1"},
        {"f.appex", "nodot", "1"},
        {"g.appex", "+org.plus", "1"},
        {"h.appex", "-org.minus", "1"},
        {"i.appex", "", "1"},
        {"j.appex", "org.version", "1&#10;+ org.x(1)"},
        {"k.appex", "org.nel", "1&#x85;"},
        {"l.appex", "org.separator", "1&#x2028;"},
        {"m\n.appex", "org.path", "1"},
        {"n\xFF.appex", "org.bytes", "1"},
        {"o\t.appex", "org.pathtab", "1"},
    };
    for (const Case& bundle : cases) {
        writeBundle(applications() / bundle.folder, bundle.identifier, bundle.version);
    }
    write(applications() / "p.appex/Contents/Info.plist", "damaged");
    writeBundle(applications() / "q.appex", "org.good", "1");
    EXPECT_EQ(listing(), "     org.good(1)\t~/Applications/q.appex\n");
    const std::string notes = pluginkit({"-m"}).errors;
    EXPECT_EQ(static_cast<std::size_t>(std::ranges::count(notes, '\n')), cases.size() + 1) << notes;
}

TEST_F(Pluginkit, RefusesWrongUsage) {
    const std::vector<std::vector<std::string>> cases{
        {},
        {"-x"},
        {"-m", "extra"},
        {"-m", "-p"},
        {"-m", "-i"},
        {"-e", "use"},
        {"-e", "maybe", "-i", "org.x"},
        {"-e", "use", "-i", "org.x", "-i", "org.y"},
        {"-m", "-e", "use", "-i", "org.x"},
        {"-e", "use", "-v", "-i", "org.x"},
        {"-i", "org.x"},
        {"-a"},
        {"-r"},
        {"-a", ""},
    };
    for (const auto& arguments : cases) {
        const ToolResult result = pluginkit(arguments);
        EXPECT_EQ(result.status, 64) << testing::PrintToString(arguments);
        EXPECT_EQ(result.output, "");
        EXPECT_NE(result.errors.find("Usage:"), std::string::npos);
    }
    const ToolResult help = pluginkit({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_TRUE(help.output.starts_with("Usage:"));
    EXPECT_FALSE(fs::exists(registry()));
}

TEST_F(Pluginkit, FailsWhenTheListingCannotBeWritten) {
    writeBundle(applications() / "A.appex", "org.a", "1");
    const FileDescriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    auto closedPipe = makePipe();
    ASSERT_TRUE(full && closedPipe);
    closedPipe->readEnd.reset();
    for (const int output : {full.get(), closedPipe->writeEnd.get()}) {
        auto child = ChildProcess::launch({PEEKMEND_PLUGINKIT, {"-m"}, output, std::nullopt});
        ASSERT_TRUE(child);
        EXPECT_EQ(child->waitUntilExit(), 1);
    }
}

TEST_F(Pluginkit, TakesElectionsBack) {
    writeBundle(applications() / "A.appex", "org.a", "1");
    for (const auto& [word, mark] :
         {std::pair("use", "+"), {"ignore", "-"}, {"default", " "}, {"default", " "}}) {
        const ToolResult result = pluginkit({"-e", word, "-i", "org.a"});
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.output + result.errors, "");
        EXPECT_EQ(pluginkit({"-m", "-i", "org.a"}).output, std::string(mark) + "    org.a(1)\n");
    }
}

TEST_F(Pluginkit, ElectsWhatIsNotInstalledAndRefusesWhatCannotBe) {
    const ToolResult gone = pluginkit({"-e", "ignore", "-i", "org.gone"});
    EXPECT_EQ(gone.status, 0);
    EXPECT_NE(gone.errors.find("org.gone"), std::string::npos);
    writeBundle(applications() / "A.appex", "org.gone", "1");
    EXPECT_EQ(pluginkit({"-m", "-i", "org.gone"}).output, "-    org.gone(1)\n");
    const std::string before = test::readFile(registry());
    for (const char* identifier :
         {"", "org.\tx", "org.\nx", "org.\xFF", "org x", "nodot", "+o.x"}) {
        const ToolResult result = pluginkit({"-e", "use", "-i", identifier});
        EXPECT_EQ(result.status, 1) << identifier;
        EXPECT_NE(result.errors, "");
    }
    EXPECT_EQ(test::readFile(registry()), before);
}

TEST_F(Pluginkit, LosesNoElectionOfManyAtOnce) {
    std::vector<ChildProcess> children;
    std::string expected;
    for (char letter = 'a'; letter < 'a' + 20; ++letter) {
        const std::string name(1, letter);
        writeBundle(applications() / (name + ".appex"), "org." + name, "1");
        expected += "+    org." + name + "(1)\t~/Applications/" + name + ".appex\n";
    }
    // What a killed program left behind is in nobody's way.
    write(registry().string() + ".new", "{");
    for (char letter = 'a'; letter < 'a' + 20; ++letter) {
        auto child = ChildProcess::launch({PEEKMEND_PLUGINKIT,
                                           {"-e", "use", "-i", std::string("org.") + letter},
                                           std::nullopt,
                                           std::nullopt});
        ASSERT_TRUE(child);
        children.push_back(std::move(*child));
    }
    for (ChildProcess& child : children) {
        EXPECT_EQ(child.waitUntilExit(), 0);
    }
    EXPECT_EQ(listing(), expected);
    EXPECT_FALSE(fs::exists(registry().string() + ".new"));
}

TEST_F(Pluginkit, LeavesARegistryAloneThatItCannotRead) {
    const std::string nested(200'000, '[');
    const std::vector<std::string> contents{
        "",
        "{",
        "[]",
        nested,
        R"({"elections":{},"addedPaths":[]})",
        R"({"version":2,"elections":{},"addedPaths":[]})",
        R"({"version":1,"elections":{"org.x":"perhaps"},"addedPaths":[]})",
        R"({"version":1,"elections":[],"addedPaths":[]})",
        R"({"version":1,"elections":{},"addedPaths":["relative"]})",
        R"({"version":1,"elections":{},"addedPaths":[1]})",
        "{\"version\":1,\"elections\":{\"org.\xFF\":\"use\"},\"addedPaths\":[]}",
        R"({"version":1,"elections":{},"addedPaths":[]})" + std::string(5'000'000, ' '),
    };
    const auto refuses = [&] {
        for (const std::vector<std::string>& arguments :
             {std::vector<std::string>{"-m"}, {"-e", "use", "-i", "org.x"}, {"-a", home}}) {
            const ToolResult result = pluginkit(arguments);
            EXPECT_EQ(result.status, 1);
            EXPECT_NE(result.errors.find(registry()), std::string::npos) << result.errors;
        }
    };
    for (const std::string& content : contents) {
        SCOPED_TRACE(content.substr(0, 80));
        write(registry(), content);
        refuses();
        EXPECT_EQ(test::readFile(registry()), content);
    }
    fs::remove(registry());
    ASSERT_EQ(::mkfifo(registry().c_str(), 0600), 0);
    refuses();
    EXPECT_TRUE(fs::is_fifo(registry()));
    fs::remove(registry());
    fs::create_directory(registry());
    refuses();
}

TEST_F(Pluginkit, AddsAndRemovesPlaces) {
    const fs::path place = home / "Größe & mehr";
    writeBundle(place / "In.appex", "org.in", "1");
    writeBundle(home / "App.app/Contents/PlugIns/x.appex", "org.app", "1");
    EXPECT_EQ(pluginkit({"-a", place.string() + "/", home / "App.app"}).status, 0);
    EXPECT_EQ(pluginkit({"-a", place}).status, 0);
    const std::string added = "     org.in(1)\t~/Größe & mehr/In.appex\n"
                              "     org.app(1)\t~/App.app/Contents/PlugIns/x.appex\n";
    EXPECT_EQ(listing(), added);

    write(home / "file.appex", "");
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"-a", home / "missing.appex"},
          {"-a", home / "file.appex"},
          {"-a", home / "missing.appex", home},
          {"-r", home / "App.app", home / "never-added"}}) {
        const ToolResult result = pluginkit(arguments);
        EXPECT_EQ(result.status, 1);
        EXPECT_NE(result.errors, "");
    }
    EXPECT_EQ(listing(), added);

    const ToolResult relative =
        run("/bin/sh", {"-c", "cd \"$1\" && exec \"$0\" -r App.app/", PEEKMEND_PLUGINKIT, home});
    EXPECT_EQ(relative.status, 0) << relative.errors;
    EXPECT_EQ(listing(), "     org.in(1)\t~/Größe & mehr/In.appex\n");
}

TEST_F(Pluginkit, KeepsItsDataWhereTheUserSays) {
    ASSERT_EQ(::setenv("XDG_DATA_HOME", "relative", 1), 0);
    EXPECT_EQ(pluginkit({"-e", "use", "-i", "org.x"}).status, 0);
    EXPECT_TRUE(fs::exists(registry()));
    ASSERT_EQ(::setenv("XDG_DATA_HOME", (home / "new/data").c_str(), 1), 0);
    EXPECT_EQ(pluginkit({"-e", "use", "-i", "org.x"}).status, 0);
    EXPECT_TRUE(fs::exists(home / "new/data/peekmend/registry.json"));
    EXPECT_EQ(fs::status(home / "new/data/peekmend").permissions(), fs::perms::owner_all);
}

} // namespace
} // namespace peekmend
