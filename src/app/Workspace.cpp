#include "app/Workspace.h"

#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>

#include <memory>

namespace peekmend::workspace {

namespace {

struct Release {
    void operator()(gpointer object) const { g_object_unref(object); }
};

struct ReleaseList {
    void operator()(GList* list) const { g_list_free_full(list, g_object_unref); }
};

struct ReleaseText {
    void operator()(char* text) const { g_free(text); }
};

/// The desktop entry as the library's other type for it; null for what is none.
GDesktopAppInfo* desktopEntry(gpointer application) {
    return g_type_check_instance_is_a(static_cast<GTypeInstance*>(application),
                                      g_desktop_app_info_get_type()) != 0
               ? static_cast<GDesktopAppInfo*>(application)
               : nullptr;
}

} // namespace

bool openURL(const std::string& address) {
    const std::unique_ptr<char, ReleaseText> scheme(g_uri_parse_scheme(address.c_str()));
    if (!scheme) {
        return false;
    }
    // Asked for first, as launching may report nothing when there is none.
    const std::unique_ptr<GAppInfo, Release> handler(
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
    const std::unique_ptr<GList, ReleaseList> applications(g_app_info_get_all());
    for (const GList* entry = applications.get(); entry != nullptr; entry = entry->next) {
        GDesktopAppInfo* const desktop = desktopEntry(entry->data);
        if (desktop == nullptr) {
            continue;
        }
        const std::unique_ptr<char, ReleaseText> itsName(
            g_desktop_app_info_get_string(desktop, "Name"));
        if (itsName && name == itsName.get() &&
            g_app_info_launch(static_cast<GAppInfo*>(entry->data), nullptr, nullptr, nullptr) !=
                0) {
            return true;
        }
    }
    return false;
}

} // namespace peekmend::workspace
