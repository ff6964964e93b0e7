#pragma once

#include "diagnosis/DiagnosisEngine.h"

#include <QWidget>

#include <functional>
#include <optional>
#include <string>

class QLabel;

namespace peekmend {

class ClaimantTable;
class TextBlock;

/// What a diagnosis has found: the verdict, who serves the preview, and who claims the file.
class ReportView : public QWidget {
public:
    ReportView();

    /// Shows this in place of an earlier one.
    void render(const QLDiagnosisReport& report);
    /// Has Tab go from this widget to the texts and the table, and then on. A widget that comes
    /// into a window that is shown would be reached last.
    void followInTabOrder(QWidget& widget);
    /// Selects the claimant of this identity, or none.
    void select(const std::optional<std::string>& claimantID);

    /// The user selected a claimant, or none.
    std::function<void(std::optional<std::string> claimantID)> onSelect;

private:
    TextBlock* m_fetchError;
    TextBlock* m_verdict;
    TextBlock* m_servingLine;
    ClaimantTable* m_table;
    QLabel* m_noClaimants;
};

} // namespace peekmend
