#pragma once

#include <string>

/// What the desktop opens and launches. Both return after two seconds at the latest; what takes
/// longer counts as done. Interface thread only.
namespace peekmend::workspace {

/// Opens an address with the program that handles it. False when the text is no address or nothing
/// handles it.
bool openURL(const std::string& address);

/// Launches the application whose desktop entry has exactly this name, untranslated. False when
/// there is none or it does not start.
bool launchApplication(const std::string& name);

} // namespace peekmend::workspace
