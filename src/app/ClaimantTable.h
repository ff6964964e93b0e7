#pragma once

#include "diagnosis/DiagnosisEngine.h"

#include <QTableView>

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace peekmend {

class ClaimantTableModel;

/// The extensions that claim the file, one in a row.
class ClaimantTable : public QTableView {
    Q_OBJECT

public:
    ClaimantTable();

    /// Shows the report's claimants, and selects the first of them with this identity. Does not
    /// call `onSelect`.
    void render(const std::shared_ptr<const QLDiagnosisReport>& report,
                const std::optional<std::string>& selectedClaimantID);

    /// The user selected the row of this identity, or none.
    std::function<void(std::optional<std::string> claimantID)> onSelect;

    [[nodiscard]] QSize sizeHint() const override;

public slots: // NOLINT(readability-redundant-access-specifiers): the toolkit's own word
    /// Copies the texts of the selected row.
    void copy();

protected:
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void fitToFont();
    void shareWidth();
    void selectionWasChanged();

    ClaimantTableModel* m_model;
    bool m_isRendering = false;
    /// How the flexible columns share their width.
    double m_extensionShare = 0.5;
};

} // namespace peekmend
