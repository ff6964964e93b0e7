#pragma once

#include "app/ErrorAlert.h"
#include "app/model/ExtensionsViewModel.h"

#include <QPointer>
#include <QWidget>

#include <memory>
#include <optional>

class QLabel;

namespace peekmend {

class Alert;
class ActionButton;
class ExtensionList;

/// The extensions view: draws the state of its view-model and hands on what the user does.
class ExtensionsView : public QWidget {
public:
    explicit ExtensionsView(const Services& services);
    ~ExtensionsView() override;

    [[nodiscard]] ExtensionsViewModel& model() { return *m_model; }

protected:
    void showEvent(QShowEvent* event) override;

private:
    void render();
    void renderConfirmation(const ExtensionsViewState& state);

    std::shared_ptr<ExtensionsViewModel> m_model;
    ErrorAlert m_alert;

    ActionButton* m_undo;
    ActionButton* m_refresh;
    QWidget* m_progress;
    QLabel* m_empty;
    ExtensionList* m_list;

    QPointer<Alert> m_confirmation;
    std::optional<QLExtensionRecord> m_shownPendingIgnore;
};

} // namespace peekmend
