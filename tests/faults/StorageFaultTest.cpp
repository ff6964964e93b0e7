// The folder where the program and its tools keep their data is not as it should be.

#include "faults/Machine.h"
#include "inventory/ProcessRunner.h"

namespace peekmend::test {
namespace {

TEST(StorageFaults, AreToldAndDestroyNothing) {
    struct Case {
        /// What happens in the data folder, which is "$0", before the program starts.
        std::string commands;
        /// How the failure of a repair is told; empty where it succeeds.
        std::string message;
        /// Whether the earlier repair can be undone, and whether the new one is stored.
        bool isOffered = true;
        bool isStored = true;
        /// What must still be there as it was.
        std::string kept;
    };

    const std::string snapshot = std::string("defaults/") + lastRepairSnapshotKey;
    const Case cases[] = {
        {":", "", true, true, ""},
        {"rm -r \"$0\"", "", false, true, ""},
        {"mv \"$0\" ~/other; ln -s ~/other \"$0\"", "", true, true, "\"$0\""},
        {"rm -r \"$0\"; echo mine >\"$0\"", "Not a directory", false, false, "\"$0\""},
        {"head -c 4096 /dev/zero >registry.json", "is damaged", true, false, "registry.json"},
        {"truncate -s -3 registry.json", "is damaged", true, false, "registry.json"},
        {"sed -i 's/: 1/: 2/' registry.json", "another version", true, false, "registry.json"},
        {"truncate -s 8M registry.json", "cannot be read", true, false, "registry.json"},
        {"rm registry.json; mkdir registry.json", "cannot be read", true, false, "registry.json"},
        {"rm registry.json; mkfifo registry.json", "cannot be read", true, false, "registry.json"},
        {"rm registry.json; ln -s registry.json registry.json", "cannot be read", true, false,
         "registry.json"},
        {"ln -sf mine registry.lock", "Couldn't lock", true, false, "registry.lock"},
        {"mkdir registry.json.new", "Couldn't write", true, false, "registry.json.new"},
        // A link makes way for the file, and what it leads to is not touched.
        {"mv registry.json ~/mine; ln -s ~/mine registry.json", "", true, true, "~/mine"},
        {"ln -sf ~/nowhere registry.json", "", true, true, ""},
        {"mv " + snapshot + " ~/mine; ln -s ~/mine " + snapshot, "", true, true, "~/mine"},
        {"head -c 4096 /dev/zero >" + snapshot, "", false, true, ""},
        {"truncate -s 8M " + snapshot, "", false, true, ""},
        {"rm " + snapshot + "; mkfifo " + snapshot, "", false, true, ""},
        {"rm " + snapshot + "; mkdir " + snapshot, "", false, false, snapshot},
        {"rm -r defaults; echo mine >defaults", "", false, false, "defaults"},
        {"ln -sf mine defaults/lock; rm " + snapshot, "", false, false, "defaults/lock"},
    };
    for (const auto& [commands, message, isOffered, isStored, kept] : cases) {
        SCOPED_TRACE(commands);
        Machine machine;
        ASSERT_EQ(machine.inDataFolder(commands), "");
        const std::string describe =
            "find " + (kept.empty() ? "/dev/null" : kept) +
            " -maxdepth 0 -printf '%p %y %l' -type f -size -99k -exec cksum {} \\;";
        const std::string before = machine.inDataFolder(describe);

        const auto list = std::make_shared<ExtensionsViewModel>(machine.services);
        const auto& state = list->state();
        EXPECT_EQ(state.undoSnapshot, isOffered ? std::optional(machine.earlier) : std::nullopt);
        list->changeState({"org.a.A", QLRegistrationState::unmarked, {}, {}}, "use");
        ASSERT_TRUE(machine.settle());
        const States changed{{"org.a.A", QLRegistrationState::unmarked}};
        if (message.empty()) {
            EXPECT_EQ(state.errorMessage, std::nullopt);
            EXPECT_EQ(readExtensionRegistry()->elections.at("org.a.A"), Election::use);
            EXPECT_EQ(states(state.undoSnapshot), changed);
        } else {
            ASSERT_TRUE(state.errorMessage);
            EXPECT_TRUE(state.errorMessage->starts_with("Couldn't update org.a.A: pluginkit: "));
            EXPECT_TRUE(state.errorMessage->contains(message)) << *state.errorMessage;
            EXPECT_EQ(states(state.undoSnapshot), isOffered ? machine.earlier.states : States());
        }
        EXPECT_EQ(states(loadLastRepairSnapshot(machine.defaults)), isStored ? changed
                                                                    : isOffered && !message.empty()
                                                                        ? machine.earlier.states
                                                                        : States());
        EXPECT_EQ(machine.inDataFolder(describe), before);
    }
}

TEST(StorageFaults, OfTheDiskAreTold) {
    const auto inMountsOfItsOwn = [](const std::string& commands, Strings arguments) {
        arguments.insert(arguments.begin(), {"-rm", "/bin/sh", "-ec", commands});
        return ProcessRunner::run("/usr/bin/unshare", arguments, false).value();
    };
    Machine machine;
    if (inMountsOfItsOwn("mount -t tmpfs tmpfs \"$0\"", {machine.folder.path()}).exitStatus != 0) {
        GTEST_SKIP() << "nobody may mount anything here";
    }
    // What happens to the disk, whose copy of the data folder is in use, and what the program says.
    const std::string cases[][2] = {
        {"mount -o remount,ro \"$0\"", "Read-only file system"},
        {"cat /dev/zero >filling 2>/dev/null || :", "No space left on device"},
        {"mount -t tmpfs tmpfs defaults; cp ~/saved/defaults/* defaults; "
         "mount -o remount,ro \"$0/defaults\"",
         ""},
    };
    for (const auto& [disk, message] : cases) {
        SCOPED_TRACE(disk);
        // Nothing is left over, and the earlier snapshot is there.
        const auto result = inMountsOfItsOwn(
            "cp -r \"$0\" ~/saved; mount -t tmpfs -o size=1m tmpfs \"$0\"; cp -r ~/saved/. \"$0\"; "
            "cd \"$0\"; " +
                disk +
                "; \"$@\" || :; find . ! -name filling | sort >~/after; "
                "cd ~/saved; find . | sort | diff - ~/after; cat \"$0\"/defaults/*Snapshot; "
                "rm -r ~/saved",
            {machine.dataFolder, PEEKMEND_TEST_PROGRAM, "repair", machine.tools.pluginkit,
             machine.tools.qlmanage, machine.tools.killall, "1"});
        EXPECT_EQ(result.exitStatus, 0) << result.stdoutBytes << result.stderrBytes;
        const std::string snapshot = encodeRepairSnapshot(machine.earlier).value();
        EXPECT_TRUE(result.stdoutBytes.contains(message)) << result.stdoutBytes;
        EXPECT_TRUE(result.stdoutBytes.ends_with(snapshot)) << result.stdoutBytes;
        EXPECT_EQ(result.stdoutBytes == snapshot, message.empty()) << result.stdoutBytes;
    }
}

} // namespace
} // namespace peekmend::test
