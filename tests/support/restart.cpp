// The program as another process: what is left of it after a kill, and what it does when it is
// started again.

#include "platform/SystemTools.h"
#include "platform/linux/StandardUserDefaults.h"
#include "repair/RepairApplicator.h"

#include <string>
#include <string_view>

int main(int argumentCount, char** arguments) {
    using namespace peekmend;
    if (argumentCount < 3) {
        return 2;
    }
    StandardUserDefaults defaults(arguments[2]);
    if (arguments[1] == std::string_view("store")) { // FOLDER: snapshots of all sizes, for ever
        QLRepairSnapshot snapshot;
        for (int size = 1;; size = size % 100 + 1) {
            snapshot.states.clear();
            for (int state = 0; state < size; ++state) {
                snapshot.states["com.example." + std::to_string(state)] =
                    QLRegistrationState::ignored;
            }
            snapshot.createdAt = size;
            storeRepairSnapshot(snapshot, defaults);
        }
    }
    // FOLDER PLUGINKIT QLMANAGE KILLALL: undoes the stored repair.
    SystemTools::replace({arguments[3], arguments[4], arguments[5], ""});
    const auto snapshot = loadLastRepairSnapshot(defaults);
    return snapshot && RepairApplicator().undo(*snapshot, defaults) ? 0 : 1;
}
