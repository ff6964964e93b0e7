#include "app/Workspace.h"

#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>

#include <memory>

namespace peekmend::workspace {

namespace {

/// What the library's objects are given back with.
template <auto function>
struct Release {
    void operator()(auto* object) const { function(object); }
};

void releaseObjects(GList* list) {
    g_list_free_full(list, g_object_unref);
}

using Text = std::unique_ptr<char, Release<g_free>>;

} // namespace

bool openURL(const std::string& address) {
    const Text scheme(g_uri_parse_scheme(address.c_str()));
    if (!scheme) {
        return false;
    }
    // Asked for first, as launching may report nothing when there is none.
    const std::unique_ptr<GAppInfo, Release<g_object_unref>> handler(
        std::string_view(scheme.get()) == "file"
            ? g_app_info_get_default_for_type("text/html", 0)
            : g_app_info_get_default_for_uri_scheme(scheme.get()));
    if (!handler) {
        return false;
    }
    GList addresses{.data = const_cast<char*>(address.c_str()), .next = nullptr, .prev = nullptr};
    return g_app_info_launch_uris(handler.get(), &addresses, nullptr, nullptr) != 0;
}

bool launchApplication(const std::string& name) {
    const std::unique_ptr<GList, Release<releaseObjects>> applications(g_app_info_get_all());
    for (const GList* entry = applications.get(); entry != nullptr; entry = entry->next) {
        // On this system all applications are desktop entries.
        auto* const desktop = static_cast<GDesktopAppInfo*>(entry->data);
        const Text itsName(g_desktop_app_info_get_string(desktop, "Name"));
        if (itsName && name == itsName.get() &&
            g_app_info_launch(static_cast<GAppInfo*>(entry->data), nullptr, nullptr, nullptr) !=
                0) {
            return true;
        }
    }
    return false;
}

} // namespace peekmend::workspace
