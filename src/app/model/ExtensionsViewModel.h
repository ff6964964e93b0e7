#pragma once

#include "app/model/RepairingViewModel.h"
#include "inventory/PlugInKitInventory.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace peekmend {

/// The state of the extensions view.
struct ExtensionsViewState : RepairingViewState {
    /// The extensions shown, in inventory order. Identifiers may occur more than once.
    std::vector<QLExtensionRecord> records;
    bool isLoading = false;
    /// The ignore confirmation is shown for this record while it is present.
    std::optional<QLExtensionRecord> pendingIgnore;
};

/// Whether something runs that the user waits for.
[[nodiscard]] inline bool isBusy(const ExtensionsViewState& state) {
    return state.isLoading || state.repairsUnderWay > 0;
}

/// Whether the election would change the state of the record, so that its button is enabled.
[[nodiscard]] bool canElect(const QLExtensionRecord& record, std::string_view election);

/// The texts of the ignore confirmation.
[[nodiscard]] std::string ignoreTitle(const ExtensionsViewState& state);
[[nodiscard]] std::string ignoreMessage(const ExtensionsViewState& state);

/// State and actions of the extensions view.
class ExtensionsViewModel final : public RepairingViewModel {
public:
    explicit ExtensionsViewModel(Services services);

    [[nodiscard]] const ExtensionsViewState& state() const { return m_state; }

    /// Reads the inventory. Of two reloads at once, the one that finishes last is shown.
    void reload();

    /// Sets the election of one extension: "use", "ignore" or "default". `record` is what was
    /// shown when the user decided, so its state is the one that an undo restores.
    void changeState(const QLExtensionRecord& record, std::string_view election);

    /// What the buttons of a row do: "ignore" asks first, the others change the state at once.
    void elect(const QLExtensionRecord& record, std::string_view election);

    /// Ignores the record that the confirmation is shown for, and closes the confirmation.
    void confirmIgnore();
    /// Closes the confirmation.
    void cancelIgnore();

private:
    [[nodiscard]] RepairingViewState& repairingState() override { return m_state; }

    void readAgain() override { reload(); }

    ExtensionsViewState m_state;
};

} // namespace peekmend
