#pragma once

#include "app/ModelSupport.h"
#include "app/model/ExtensionsViewModel.h"
#include "app/model/RepairViewModel.h"
#include "platform/linux/ExtensionRegistry.h"
#include "platform/linux/StandardUserDefaults.h"
#include "support/Support.h"

#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace peekmend::test {

using Elections = std::map<std::string, Election>;

/// The interface thread: whoever waits runs what has been posted. Nothing is delayed here.
class PumpedMainQueue final : public MainQueue {
public:
    void post(Block block) override;

    void postAfter(std::chrono::milliseconds /*delay*/, Block /*block*/) override {}

    /// Runs blocks until the condition holds. False when it does not within a minute.
    [[nodiscard]] bool runUntil(const std::function<bool()>& condition);

private:
    std::mutex m_mutex;
    std::condition_variable m_posted;
    std::deque<Block> m_blocks;
};

/// A user's machine in miniature: three extensions that claim one file, one of them used and one
/// ignored, a stored snapshot of an earlier repair, and the four tools behind a script that plays
/// faults. The environment of the process is changed for good.
class Machine {
public:
    Machine();
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;
    ~Machine();

    /// Lets the script play `commands` at every command line that begins with `step`.
    void playFault(const std::string& step, const std::string& commands);

    /// Takes the tool away that a command line begins with.
    void removeTool(const std::string& commandLine) const;

    /// Until a fault has come so far that it waits, and then lets it go on.
    [[nodiscard]] bool waitUntilHeld() const;
    void release() const;

    /// The command lines that have been run, in the order in which they were begun; forgotten with
    /// this call.
    Strings takeCommands();

    /// What a shell command prints that is run in the folder where the program keeps its data.
    [[nodiscard]] std::string inDataFolder(const std::string& command) const;

    /// The processes whose command lines speak of this machine.
    [[nodiscard]] Strings processes() const;

    /// Waits until nothing is under way any more.
    [[nodiscard]] bool settle();

    const TemporaryFolder folder;
    const std::string file = folder.write("a \"file\" ü.txt", "text");
    const std::string dataFolder = folder / ".local/share/peekmend";
    const std::map<std::string, std::string> paths{{"org.a.A", folder / "Applications/A.appex"},
                                                   {"org.b.B", folder / "Applications/B.appex"},
                                                   {"org.c.C", folder / "Applications/C.appex"}};
    const Elections elections{{"org.b.B", Election::use}, {"org.c.C", Election::ignore}};
    const QLRepairSnapshot earlier{1,
                                   {{"org.a.A", QLRegistrationState::ignored},
                                    {"org.b.B", QLRegistrationState::unmarked},
                                    {"org.c.C", QLRegistrationState::enabled}}};

    const SystemTools tools{folder / "tools/pluginkit", folder / "tools/qlmanage",
                            folder / "tools/killall", folder / "tools/ps"};
    StandardUserDefaults defaults{dataFolder + "/defaults"};
    std::shared_ptr<PumpedMainQueue> queue = std::make_shared<PumpedMainQueue>();
    Services services;

private:
    ReplacedTools m_replaced{tools};
};

} // namespace peekmend::test
