#include "ToolTest.h"

#include <cstdint>
#include <sstream>

namespace peekmend {
namespace {

namespace fs = std::filesystem;

class Qlmanage : public ToolTest {
protected:
    static ToolResult preview(const fs::path& file) {
        return run(PEEKMEND_QLMANAGE, {"-p", file.string()});
    }

    void writeExtension(const std::string& name, std::string_view type,
                        std::string_view script) const {
        writeBundle(home / "Applications" / (name + ".appex"), "org." + name, "1", type, script);
    }
};

/// Reads until `end` returns true for everything read so far or nobody can write any more.
/// Returns whether that happened in time.
template <typename End>
bool readUntil(int descriptor, std::string& text, End end) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!end(text)) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd watched{descriptor, POLLIN, 0};
        if (left.count() <= 0 || ::poll(&watched, 1, static_cast<int>(left.count())) <= 0) {
            return false;
        }
        std::array<char, 512> buffer{};
        const ssize_t count = ::read(descriptor, buffer.data(), buffer.size());
        if (count <= 0) {
            return true;
        }
        text.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return true;
}

TEST_F(Qlmanage, ChoosesAsTheSystemWould) {
    writeExtension("early.Far", "public.text", "echo early");
    writeExtension("exact.Near", "net.daringfireball.markdown", "echo exact");
    writeExtension("later.Far", "public.text", "echo later");
    writeExtension("picture.Only", "public.image", "echo picture");
    write(home / "a.md", "");
    write(home / "a.txt", "");
    write(home / "a.png", "");

    struct Case {
        std::vector<std::pair<std::string, std::string>> elections;
        std::string file;
        std::string served;
    };

    const std::vector<Case> cases{
        {{}, "a.md", "exact"},
        {{}, "a.txt", "early"},
        {{}, "a.png", "picture"},
        {{{"exact.Near", "ignore"}}, "a.md", "early"},
        {{{"later.Far", "use"}}, "a.md", "later"},
        {{{"later.Far", "use"}, {"exact.Near", "use"}}, "a.md", "exact"},
        {{{"later.Far", "use"}, {"early.Far", "use"}}, "a.md", "early"},
        {{{"later.Far", "use"}, {"later.Far", "default"}}, "a.md", "exact"},
        {{{"picture.Only", "use"}}, "a.md", "exact"},
        {{{"early.Far", "ignore"}}, "a.txt", "later"},
    };
    for (const Case& each : cases) {
        fs::remove_all(home / ".local");
        for (const auto& [name, election] : each.elections) {
            ASSERT_EQ(pluginkit({"-e", election, "-i", "org." + name}).status, 0);
        }
        const ToolResult result = preview(home / each.file);
        EXPECT_EQ(result.output, each.served + "\n")
            << each.file << " " << testing::PrintToString(each.elections) << result.errors;
        EXPECT_EQ(result.status, 0);
    }
}

TEST_F(Qlmanage, StartsTheListedPathWithTheAbsoluteFile) {
    writeBundle(home / "real/Größe.app/Contents/PlugIns/My Ext.appex", "org.x", "1", "public.text",
                R"(printf '%s|%s|%s\n' "$0" "$1" $#)");
    fs::create_directory_symlink(home / "real/Größe.app", home / "Applications/Link.app");
    write(home / "file.txt", "");
    fs::create_symlink(home / "file.txt", home / "-link.txt");
    const ToolResult result =
        run("/bin/sh", {"-c", "cd \"$1\" && exec \"$0\" -p -link.txt", PEEKMEND_QLMANAGE, home});
    EXPECT_EQ(result.output,
              home.string() +
                  "/Applications/Link.app/Contents/PlugIns/My Ext.appex/Contents/MacOS/Preview|" +
                  home.string() + "/-link.txt|1\n")
        << result.errors;
}

TEST_F(Qlmanage, EndsAsItsExtensionDoes) {
    write(home / "a.txt", "");
    for (const auto& [script, status] : {std::pair("exit 7", 7), {"kill -KILL $$", SIGKILL}}) {
        writeExtension("x.X", "public.text", script);
        EXPECT_EQ(preview(home / "a.txt").status, status) << script;
    }
}

TEST_F(Qlmanage, StartsItsChildWithDefaultSignals) {
    write(home / "a.txt", "");
    writeExtension("x.X", "public.text",
                   "sed -nE 's/^Sig(Blk|Ign):.//p' /proc/self/status; kill -HUP $$");
    const ToolResult result = run("/bin/sh", {"-c", "trap '' CHLD PIPE HUP; exec \"$0\" -p \"$1\"",
                                              PEEKMEND_QLMANAGE, home / "a.txt"});
    std::istringstream masks(result.output);
    std::uint64_t blocked = 0;
    std::uint64_t ignored = 0;
    masks >> std::hex >> blocked >> ignored;
    ASSERT_TRUE(masks) << result.output;
    EXPECT_EQ(blocked, 0U);
    // The highest ones belong to the C library, which does not let anybody set them.
    EXPECT_EQ(ignored & 0x7FFFFFFFU, 0U) << result.output;
    EXPECT_EQ(result.status, SIGHUP);
}

TEST_F(Qlmanage, TriesTheNextOneWhereOneCannotStart) {
    writeExtension("a.Broken", "public.plain-text", "echo broken");
    fs::permissions(home / "Applications/a.Broken.appex/Contents/MacOS/Preview",
                    fs::perms::owner_read);
    writeExtension("b.Outside", "public.plain-text", "echo inside");
    write(home / "Applications/b.Outside.appex/Contents/outside", "#!/bin/sh\necho outside\n");
    fs::permissions(home / "Applications/b.Outside.appex/Contents/outside", fs::perms::owner_all);
    const fs::path info = home / "Applications/b.Outside.appex/Contents/Info.plist";
    std::string list = test::readFile(info);
    list.replace(list.find(">Preview<"), 9, ">../outside<");
    write(info, list);
    writeExtension("c.Whole", "public.text", "echo whole");
    write(home / "a.txt", "");
    const ToolResult result = preview(home / "a.txt");
    EXPECT_EQ(result.output, "whole\n");
    EXPECT_NE(result.errors.find("a.Broken.appex"), std::string::npos);
}

TEST_F(Qlmanage, TakesItsExtensionWithIt) {
    write(home / "a.txt", "");
    writeExtension("x.X", "public.text", "echo started; exec sleep 600");
    for (const int signal : {SIGKILL, SIGTERM, SIGINT, SIGHUP}) {
        auto output = makePipe();
        ASSERT_TRUE(output);
        auto child = ChildProcess::launch(
            {PEEKMEND_QLMANAGE, {"-p", home / "a.txt"}, output->writeEnd.get(), std::nullopt});
        ASSERT_TRUE(child);
        output->writeEnd.reset();
        std::string text;
        ASSERT_TRUE(readUntil(output->readEnd.get(), text,
                              [](const std::string& read) { return read == "started\n"; }));
        child->send(signal);
        // The pipe ends when the last process that holds it has gone.
        EXPECT_TRUE(readUntil(output->readEnd.get(), text, [](const std::string&) {
            return false;
        })) << signal;
        EXPECT_EQ(child->waitUntilExit(), signal);
    }
}

TEST_F(Qlmanage, DoesNotOutliveWhoStartedIt) {
    write(home / "a.txt", "");
    writeExtension("x.X", "public.text", "echo started; exec sleep 600");
    auto output = makePipe();
    ASSERT_TRUE(output);
    auto shell = ChildProcess::launch(
        {"/bin/sh",
         {"-c", "\"$0\" -p \"$1\"; echo not reached", PEEKMEND_QLMANAGE, home / "a.txt"},
         output->writeEnd.get(),
         std::nullopt});
    ASSERT_TRUE(shell);
    output->writeEnd.reset();
    std::string text;
    ASSERT_TRUE(readUntil(output->readEnd.get(), text,
                          [](const std::string& read) { return read == "started\n"; }));
    shell->send(SIGKILL);
    EXPECT_TRUE(readUntil(output->readEnd.get(), text, [](const std::string&) { return false; }));
    EXPECT_EQ(text, "started\n");
}

TEST_F(Qlmanage, FallsBackToThePlainPreview) {
    write(home / "a.unknown-kind", "");
    const fs::path copy = home / "tools/qlmanage";
    fs::create_directory(home / "tools");
    fs::copy_file(PEEKMEND_QLMANAGE, copy);
    // Without the neighbour there is a message; with it, it is started with the file.
    const ToolResult alone = run(copy, {"-p", home / "a.unknown-kind"});
    EXPECT_EQ(alone.status, 1);
    EXPECT_NE(alone.errors.find("plain-preview"), std::string::npos);
    write(home / "tools/plain-preview", "#!/bin/sh\necho \"plain $1\"\n");
    fs::permissions(home / "tools/plain-preview", fs::perms::owner_all);
    EXPECT_EQ(run(copy, {"-p", home / "a.unknown-kind"}).output,
              "plain " + (home / "a.unknown-kind").string() + "\n");
}

TEST_F(Qlmanage, ShowsWithoutElectionsWhatItCannotRead) {
    write(home / "a.txt", "");
    write(home / ".local/share/peekmend/registry.json", "damaged");
    writeExtension("x.X", "public.text", "echo shown");
    const ToolResult result = preview(home / "a.txt");
    EXPECT_EQ(result.output, "shown\n");
    EXPECT_NE(result.errors.find("registry.json"), std::string::npos);
}

TEST_F(Qlmanage, AnswersForItsArguments) {
    struct Case {
        std::vector<std::string> arguments;
        int status;
        bool silent;
    };

    const std::vector<Case> cases{
        {{"-r"}, 0, true},
        {{"-r", "cache"}, 0, true},
        {{"-p", home / "missing"}, 1, false},
        {{"-r", "other"}, 64, false},
        {{"-p"}, 64, false},
        {{"-p", ""}, 64, false},
        {{"-p", home / "a", home / "b"}, 64, false},
        {{}, 64, false},
    };
    for (const Case& each : cases) {
        const ToolResult result = run(PEEKMEND_QLMANAGE, each.arguments);
        EXPECT_EQ(result.status, each.status) << testing::PrintToString(each.arguments);
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(result.errors.empty(), each.silent) << result.errors;
    }
}

} // namespace
} // namespace peekmend
