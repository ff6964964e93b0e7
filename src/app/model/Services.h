#pragma once

#include "app/model/DiagnosisRunner.h"
#include "app/model/MainQueue.h"
#include "app/model/RepairQueue.h"
#include "platform/UserDefaults.h"
#include "repair/RepairApplicator.h"

#include <functional>
#include <memory>
#include <string>

namespace peekmend {

/// What the views need from the rest of the program and from the desktop. One for all windows; the
/// functions are called on the interface thread.
struct Services {
    std::shared_ptr<MainQueue> mainQueue;
    std::shared_ptr<DiagnosisRunner> diagnoses;
    std::shared_ptr<RepairQueue> repairs;
    RepairApplicator applicator;
    /// The standard user defaults.
    std::shared_ptr<UserDefaults> defaults;
    /// Puts plain text in place of what the general pasteboard held.
    std::function<void(const std::string& text)> copyText;
    /// Opens an address with the program that handles it. False when it is none or nothing does.
    std::function<bool(const std::string& address)> openURL;
    /// Launches the application of exactly this name. False when there is none.
    std::function<bool(const std::string& name)> launchApplication;
    /// Tells the user about a failure whose window is gone.
    std::function<void(const std::string& message)> tellWithoutWindow;
};

} // namespace peekmend
