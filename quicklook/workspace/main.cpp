// Asks the desktop to open an address or to launch an application. Apart from the window, which
// would load the desktop's library at every start for what few runs need.

#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

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

/// Launches the application. One that the session's bus starts is waited for until it has answered:
/// the bus drops what was sent by somebody who is gone before.
bool launch(GAppInfo* application, GList* addresses) {
    struct Answer {
        bool isThere = false;
        bool isGood = false;
    } answer;

    g_app_info_launch_uris_async(
        application, addresses, nullptr, nullptr,
        [](GObject* source, GAsyncResult* result, gpointer data) {
            auto& given = *static_cast<Answer*>(data);
            given.isGood = g_app_info_launch_uris_finish(reinterpret_cast<GAppInfo*>(source),
                                                         result, nullptr) != 0;
            given.isThere = true;
        },
        &answer);
    while (!answer.isThere) {
        g_main_context_iteration(nullptr, 1);
    }
    return answer.isGood;
}

/// Opens the address with the program that handles it, if there is one.
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
    return launch(handler.get(), &addresses);
}

/// Launches the application whose desktop entry has exactly this name, untranslated.
bool launchApplication(const std::string& name) {
    const std::unique_ptr<GList, Release<releaseObjects>> applications(g_app_info_get_all());
    for (const GList* entry = applications.get(); entry != nullptr; entry = entry->next) {
        // On this system all applications are desktop entries.
        auto* const desktop = static_cast<GDesktopAppInfo*>(entry->data);
        const Text itsName(g_desktop_app_info_get_string(desktop, "Name"));
        if (itsName && name == itsName.get() &&
            launch(static_cast<GAppInfo*>(entry->data), nullptr)) {
            return true;
        }
    }
    return false;
}

/// The bus is told what was launched, which is not sent at once.
void sendWhatIsQueued() {
    const std::unique_ptr<GDBusConnection, Release<g_object_unref>> bus(
        g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
    if (bus) {
        g_dbus_connection_flush_sync(bus.get(), nullptr, nullptr);
    }
}

} // namespace

int main(int argumentCount, char** arguments) {
    const std::string_view verb = argumentCount == 3 ? arguments[1] : "";
    if (verb != "open" && verb != "launch") {
        std::fputs("Usage: workspace open ADDRESS | launch NAME\n", stderr);
        return 2;
    }
    if (!(verb == "open" ? openURL : launchApplication)(arguments[2])) {
        return EXIT_FAILURE;
    }
    sendWhatIsQueued();
    return EXIT_SUCCESS;
}
