#include "app/ReportView.h"

#include "app/ClaimantTable.h"
#include "app/Style.h"
#include "app/Widgets.h"
#include "app/model/Texts.h"

#include <QVBoxLayout>

#include <initializer_list>
#include <utility>

namespace peekmend {

ReportView::ReportView()
    : m_fetchError(new TextBlock(TextRole::body, ColourRole::red)),
      m_verdict(new TextBlock(TextRole::body)), m_servingLine(new TextBlock(TextRole::callout)),
      m_table(new ClaimantTable),
      m_noClaimants(new Label("No registered preview extensions claim this file's type.",
                              TextRole::body, ColourRole::secondary)) {
    m_table->onSelect = [this](std::optional<std::string> claimantID) {
        onSelect(std::move(claimantID));
    };
    auto* const column = makeLayout<QVBoxLayout>(this, 0, spacing::group);
    column->addWidget(m_fetchError);
    column->addWidget(m_verdict);
    column->addWidget(m_servingLine);
    column->addWidget(m_table, 1);
    column->addWidget(m_noClaimants);
    column->addStretch();
}

void ReportView::render(const QLDiagnosisReport& report) {
    const auto renderText = [](TextBlock& block, const std::string& text) {
        block.setText(displayText(text));
        block.setVisible(!text.empty());
    };
    renderText(*m_fetchError,
               report.fetchError ? inventoryErrorText(*report.fetchError) : std::string());
    renderText(*m_verdict, report.verdict);
    const ServingLine serving = servingLine(report).value_or(ServingLine());
    if (serving.namesExtensions) {
        m_servingLine->setRoles(TextRole::calloutMedium);
    } else {
        m_servingLine->setRoles(TextRole::callout, ColourRole::secondary);
    }
    renderText(*m_servingLine, serving.text);
    m_table->setClaimants(report.claimants);
    m_table->setVisible(!report.claimants.empty());
    m_noClaimants->setVisible(report.claimants.empty());
}

void ReportView::followInTabOrder(QWidget& widget) {
    QWidget* before = &widget;
    for (QWidget* const part :
         std::initializer_list<QWidget*>{m_fetchError, m_verdict, m_servingLine, m_table}) {
        setTabOrder(std::exchange(before, part), part);
    }
}

void ReportView::select(const std::optional<std::string>& claimantID) {
    m_table->select(claimantID);
}

} // namespace peekmend
