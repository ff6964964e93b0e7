#include "ToolTest.h"

#include "platform/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>

#include <csignal>

namespace peekmend {
namespace {

class Qlmanage : public ToolTest {
protected:
    void writeExtension(const std::string& name, const std::string& type,
                        const std::string& script) const {
        writeBundle("Applications/" + name + ".appex", "org." + name, "1", type, script);
    }

    const std::string text = folder.write("a.txt", "");
};

TEST_F(Qlmanage, ChoosesAsTheSystemWould) {
    writeExtension("early.Far", "public.text", "echo early");
    writeExtension("exact.Near", "net.daringfireball.markdown", "echo exact");
    writeExtension("later.Far", "public.text", "echo later");
    writeExtension("picture.Only", "public.image", "echo picture");
    const std::string elect = "rm -rf .local; elect() { pluginkit -e $1 -i org.$2; }; ";

    const std::string cases[][3] = {{"", "a.md", "exact"},
                                    {"", "a.txt", "early"},
                                    {"", "a.png", "picture"},
                                    {"elect ignore exact.Near;", "a.md", "early"},
                                    {"elect use later.Far;", "a.md", "later"},
                                    {"elect use later.Far; elect use exact.Near;", "a.md", "exact"},
                                    {"elect use later.Far; elect use early.Far;", "a.md", "early"},
                                    {"elect use picture.Only;", "a.md", "exact"},
                                    {"elect ignore early.Far;", "a.txt", "later"}};
    for (const auto& [elections, file, served] : cases) {
        const auto result = run(elect + elections + "touch " + file + "; qlmanage -p " + file);
        EXPECT_EQ(result.stdoutBytes, served + "\n") << elections << file;
        EXPECT_EQ(result.exitStatus, 0);
    }
}

TEST_F(Qlmanage, StartsTheListedPathWithTheAbsoluteFile) {
    writeBundle("real/Größe.app/Contents/PlugIns/My Ext.appex", "org.x", "1", "public.text",
                R"(printf '%s|%s|%s' "$0" "$1" $#)");
    const auto result =
        run("ln -s ../real/Größe.app Applications/Link.app; ln -s a.txt ./-link.txt;"
            "qlmanage -p -link.txt");
    const std::string program = "Link.app/Contents/PlugIns/My Ext.appex/Contents/MacOS/Preview";
    EXPECT_EQ(result.stdoutBytes,
              home.string() + "/Applications/" + program + "|" + home.string() + "/-link.txt|1");
}

TEST_F(Qlmanage, EndsAsItsExtensionDoesWhateverSignalsItInherited) {
    // The last one tells how many signals it found blocked or ignored.
    const std::pair<std::string, int> cases[] = {{"exit 7", 7},
                                                 {"kill -KILL $$", SIGKILL},
                                                 {"exec '" + test::childProgram + "' signals", 0}};
    for (const auto& [script, status] : cases) {
        writeExtension("x.X", "public.text", script);
        const auto result = run("env --ignore-signal=CHLD,PIPE,HUP qlmanage -p a.txt");
        EXPECT_EQ(result.exitStatus, status) << script;
    }
}

TEST_F(Qlmanage, TriesTheNextOneWhereOneCannotStart) {
    writeExtension("a.Broken", "public.plain-text", "echo broken");
    writeExtension("b.Outside", "public.plain-text", "echo inside");
    folder.writeScript("Applications/b.Outside.appex/Contents/outside", "echo outside");
    writeExtension("c.Whole", "public.text", "echo whole");
    const auto result = run("cd Applications; chmod a-x a.Broken.appex/Contents/MacOS/Preview; sed "
                            "-i 's|>Preview<|>../outside<|' b.Outside.appex/Contents/Info.plist; "
                            "qlmanage -p ../a.txt");
    EXPECT_EQ(result.stdoutBytes, "whole\n");
    EXPECT_NE(result.stderrBytes.find("a.Broken.appex"), std::string::npos);
}

TEST_F(Qlmanage, LeavesNoExtensionBehind) {
    const std::string pipe = folder / "pipe";
    run("mkfifo pipe");
    writeExtension("x.X", "public.text", "read line <~/pipe");
    const std::pair<std::string, int> cases[] = {
        {"exec", SIGKILL}, {"exec", SIGTERM}, {"exec", SIGINT}, {"exec", SIGHUP}, {"env", SIGKILL}};
    for (const auto& [start, signal] : cases) {
        SCOPED_TRACE(start + " " + std::to_string(signal));
        auto child = ChildProcess::launch(
            {"/bin/sh", {"-c", start + " qlmanage -p \"$0\"; exit", text}, {}, {}});
        ASSERT_TRUE(child);
        // Can be opened once the extension reads, and tells when nobody does any more.
        FileDescriptor writeEnd;
        ASSERT_TRUE(test::eventually([&] {
            writeEnd = FileDescriptor(::open(pipe.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
            return writeEnd.get() >= 0;
        }));
        child->send(signal);
        pollfd watched{writeEnd.get(), 0, 0};
        EXPECT_EQ(::poll(&watched, 1, 60'000), 1);
        writeEnd.reset();
        EXPECT_EQ(child->waitUntilExit(), signal);
    }
}

TEST_F(Qlmanage, FallsBackToThePlainPreview) {
    // Without the neighbour there is a message; with it, it is started with the file.
    const std::string preview = "touch a.unknown-kind; ./copies/qlmanage -p a.unknown-kind";
    const auto alone = run("mkdir copies; cp '" PEEKMEND_QLMANAGE "' copies; " + preview);
    EXPECT_EQ(alone.exitStatus, 1);
    EXPECT_NE(alone.stderrBytes.find("plain-preview"), std::string::npos);
    folder.writeScript("copies/plain-preview", "echo plain \"$1\"");
    EXPECT_EQ(run(preview).stdoutBytes, "plain " + home.string() + "/a.unknown-kind\n");
}

TEST_F(Qlmanage, ShowsWithoutElectionsWhatItCannotRead) {
    folder.write(".local/share/peekmend/registry.json", "damaged");
    writeExtension("x.X", "public.text", "echo shown");
    const auto result = run("qlmanage -p a.txt");
    EXPECT_EQ(result.stdoutBytes, "shown\n");
    EXPECT_NE(result.stderrBytes.find("registry.json"), std::string::npos);
}

TEST_F(Qlmanage, AnswersForItsArguments) {
    const std::pair<std::string, int> cases[] = {
        {"-r", 0},  {"-r cache", 0}, {"-p missing", 1},      {"-r other", 64},
        {"-p", 64}, {"-p ''", 64},   {"-p a.txt a.txt", 64}, {"", 64}};
    for (const auto& [arguments, status] : cases) {
        const auto result = run("qlmanage " + arguments);
        EXPECT_EQ(result.exitStatus, status) << arguments;
        EXPECT_EQ(result.stdoutBytes, "");
        EXPECT_EQ(result.stderrBytes.empty(), status == 0) << result.stderrBytes;
    }
}

} // namespace
} // namespace peekmend
