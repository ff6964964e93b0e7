#pragma once

#include "app/Sheet.h"
#include "inventory/PlugInKitInventory.h"

#include <functional>
#include <vector>

namespace peekmend {

/// What is asked before one extension is preferred. It changes nothing and does not close itself:
/// its caller does both.
class PreferConfirmationSheet : public Sheet {
public:
    PreferConfirmationSheet(QWidget* window, const QLExtensionRecord& chosen,
                            const std::vector<QLExtensionRecord>& peersToIgnore,
                            std::function<void()> onConfirm, std::function<void()> onCancel);

    /// Escape and closing cancel.
    void reject() override;

private:
    std::function<void()> m_onCancel;
};

} // namespace peekmend
