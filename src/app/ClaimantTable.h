#pragma once

#include "diagnosis/DiagnosisEngine.h"

#include <QTableWidget>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace peekmend {

/// The extensions that claim the file, one in a row.
class ClaimantTable : public QTableWidget {
    Q_OBJECT

public:
    ClaimantTable();

    /// Shows these, one in a row, by position, as identifiers may occur more than once.
    void setClaimants(const std::vector<QLClaimant>& claimants);

    /// Selects the first row of this identity, or none. Does not call `onSelect`.
    void select(const std::optional<std::string>& claimantID);

    /// The user selected the row of this identity, or none.
    std::function<void(std::optional<std::string> claimantID)> onSelect;

    [[nodiscard]] QSize sizeHint() const override;

public slots: // NOLINT(readability-redundant-access-specifiers): the toolkit's own word
    /// Copies the texts of the selected row.
    void copy();

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void fitToFont();
    void setCell(int row, int column, const QString& text, const QString& spoken,
                 const QString& toolTip);
    /// What the row says, its cells with tabs between them.
    [[nodiscard]] QString rowText(int row) const;
    void fill();
    void shareWidth();
    void selectionWasChanged();

    std::vector<QLClaimant> m_claimants;
    bool m_isRendering = false;
    /// How the flexible columns share their width.
    double m_extensionShare = 0.5;
};

} // namespace peekmend
