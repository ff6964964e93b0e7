// The program without its window, as a process of its own: what is left of it after a kill, and
// what it does when it is started again or finds its data folder unusable.

#include "diagnosis/DiagnosisEngine.h"
#include "platform/SystemTools.h"
#include "platform/linux/StandardUserDefaults.h"
#include "repair/RepairApplicator.h"

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace {

using namespace peekmend;

/// Prefers the first extension to all others, changes it alone, and undoes that.
std::expected<void, Error> repair(const std::vector<QLExtensionRecord>& records,
                                  UserDefaults& defaults) {
    const RepairApplicator applicator;
    const std::vector peers(records.begin() + 1, records.end());
    const auto preferred = applicator.prefer(records.front(), peers, records, defaults);
    if (!preferred) {
        return std::unexpected(preferred.error());
    }
    const auto changed = applicator.applySingleChange(records.front(), "default", defaults);
    return changed ? applicator.undo(*changed, defaults) : std::unexpected(changed.error());
}

} // namespace

int main(int argumentCount, char** arguments) {
    // ROLE PLUGINKIT QLMANAGE KILLALL ARGUMENT
    if (argumentCount != 6) {
        return 2;
    }
    const std::string_view role = arguments[1];
    SystemTools::replace({arguments[2], arguments[3], arguments[4], "/bin/ps"});
    StandardUserDefaults defaults;
    if (role == "repair") { // TIMES
        const auto records =
            parseListing(RealPlugInKitExecutor().listPreviewExtensions().value_or(""));
        if (records.empty()) {
            std::puts("nothing is listed");
            return 1;
        }
        for (int time = 0; time < std::atoi(arguments[5]); ++time) {
            if (const auto done = repair(records, defaults); !done) {
                std::puts(done.error().message.c_str());
                return 1;
            }
        }
        return 0;
    }
    if (role == "undo") {
        const auto snapshot = loadLastRepairSnapshot(defaults);
        return snapshot && RepairApplicator().undo(*snapshot, defaults) ? 0 : 1;
    }
    if (role != "diagnose") { // FILE
        return 2;
    }
    return DiagnosisEngine().diagnose(FileURL(arguments[5]), {}).records.empty() ? 1 : 0;
}
