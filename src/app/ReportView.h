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

    void render(const QLDiagnosisReport& report);
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
