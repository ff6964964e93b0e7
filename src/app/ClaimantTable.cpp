#include "app/ClaimantTable.h"

#include "app/Style.h"
#include "app/Widgets.h"
#include "app/model/Texts.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QPainter>
#include <QStyledItemDelegate>

#include <algorithm>
#include <utility>

namespace peekmend {

namespace {

enum Column : std::uint8_t { badgeColumn, extensionColumn, versionColumn, alsoPreviewsColumn };

constexpr int badgeWidth = 20;
constexpr int versionWidth = 70;
constexpr int leastHeight = 140;
constexpr int leastFlexibleWidth = 60;
constexpr int cellPadding = 4;

/// The warning in a cell's second line.
constexpr int secondLineRole = Qt::UserRole;

/// Draws cells of one or two lines.
class ClaimantDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option,
                                 const QModelIndex& index) const override {
        int height = QFontMetrics(option.font).height() + (2 * cellPadding);
        if (!index.data(secondLineRole).toString().isEmpty()) {
            height += spacing::tight + QFontMetrics(roleFont(TextRole::caption2)).height();
        }
        return {0, height};
    }

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override {
        const QString second = index.data(secondLineRole).toString();
        QStyleOptionViewItem cell = option;
        // The focus is that of the row, whose frame the table draws.
        cell.state.setFlag(QStyle::State_HasFocus, false);
        if (second.isEmpty()) {
            QStyledItemDelegate::paint(painter, cell, index);
            return;
        }
        initStyleOption(&cell, index);
        const QString first = std::exchange(cell.text, QString());
        const QStyle& style = *cell.widget->style();
        style.drawControl(QStyle::CE_ItemViewItem, &cell, painter, cell.widget);

        const bool isSelected = cell.state.testFlag(QStyle::State_Selected);
        const auto group =
            cell.state.testFlag(QStyle::State_Active) ? QPalette::Active : QPalette::Inactive;
        const QColor selectedText = cell.palette.color(group, QPalette::HighlightedText);
        cell.text = first;
        const int margin = style.pixelMetric(QStyle::PM_FocusFrameHMargin, &cell, cell.widget) + 1;
        QRect line = cell.rect.adjusted(margin, cellPadding, -margin, -cellPadding);
        const auto draw = [&](const QString& text, const QFont& font, const QColor& colour) {
            const QFontMetrics metrics(font);
            line.setHeight(metrics.height());
            painter->setFont(font);
            painter->setPen(colour);
            painter->drawText(line,
                              static_cast<int>(QStyle::visualAlignment(
                                  cell.direction, Qt::AlignLeading | Qt::AlignVCenter)) |
                                  Qt::TextSingleLine,
                              metrics.elidedText(text, cell.textElideMode, line.width()));
            line.translate(0, metrics.height() + spacing::tight);
        };
        painter->save();
        // In a mirrored window too, a sentence ends with its question mark.
        painter->setLayoutDirection(Qt::LeftToRight);
        draw(first, cell.font,
             isSelected ? selectedText : cell.palette.color(group, QPalette::Text));
        draw(second, roleFont(TextRole::caption2),
             isSelected ? selectedText : roleColour(ColourRole::orange));
        painter->restore();
    }
};

} // namespace

ClaimantTable::ClaimantTable() : QTableWidget(0, 4) {
    setAccessibleName("Extensions that claim this file's type");
    setHorizontalHeaderLabels({"", "Extension", "Version", "Also previews"});
    horizontalHeaderItem(badgeColumn)->setData(Qt::AccessibleTextRole, "State");
    for (int column = 0; column < columnCount(); ++column) {
        QTableWidgetItem& heading = *horizontalHeaderItem(column);
        heading.setToolTip(heading.data(Qt::AccessibleTextRole).toString() + heading.text());
    }
    setEditTriggers(NoEditTriggers);
    setItemDelegate(new ClaimantDelegate(this));
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setTabKeyNavigation(false);
    setTextElideMode(Qt::ElideMiddle);
    setWordWrap(false);
    setShowGrid(false);
    setAlternatingRowColors(true);
    setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    verticalHeader()->hide();
    verticalHeader()->setMinimumSectionSize(1);
    verticalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);

    QHeaderView& header = *horizontalHeader();
    header.setDefaultAlignment(Qt::AlignLeading | Qt::AlignVCenter);
    header.setHighlightSections(false);
    header.setMinimumSectionSize(badgeWidth);
    header.setSectionResizeMode(QHeaderView::Interactive);
    header.setSectionResizeMode(badgeColumn, QHeaderView::Fixed);
    header.setStretchLastSection(true);
    header.resizeSection(badgeColumn, badgeWidth);
    fitToFont();
    connect(&header, &QHeaderView::sectionResized, this, [this](int section) {
        if (section == extensionColumn && !m_isRendering) {
            const double flexible =
                columnWidth(extensionColumn) + std::max(columnWidth(alsoPreviewsColumn), 1);
            m_extensionShare = columnWidth(extensionColumn) / flexible;
        }
    });
    connect(selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &ClaimantTable::selectionWasChanged);
}

void ClaimantTable::setCell(int row, int column, const QString& text, const QString& spoken,
                            const QString& toolTip) {
    if (item(row, column) == nullptr) {
        setItem(row, column, new QTableWidgetItem);
    }
    QTableWidgetItem& cell = *item(row, column);
    cell.setText(singleLine(text));
    cell.setData(Qt::AccessibleTextRole, spoken);
    cell.setToolTip(plainToolTip(toolTip));
}

void ClaimantTable::fill() {
    const bool wasRendering = std::exchange(m_isRendering, true);
    // In place, so that what has the focus and how far the table is scrolled stay.
    setRowCount(static_cast<int>(m_claimants.size()));
    for (int row = 0; row < rowCount(); ++row) {
        const QLClaimant& claimant = m_claimants[static_cast<std::size_t>(row)];
        const QLExtensionRecord& record = claimant.record;
        const QString state = displayText(textValue(record.state));
        setCell(row, badgeColumn, displayText(stateBadge(record.state)), state, state);
        item(row, badgeColumn)->setForeground(roleColour(stateColour(record.state)));
        item(row, badgeColumn)->setTextAlignment(Qt::AlignCenter);

        const QString identifier = displayText(record.bundleID);
        const QString stale = displayText(staleText(record).value_or(std::string_view()));
        QStringList toolTip(identifier);
        if (record.path) {
            toolTip += displayText(*record.path);
        }
        if (!stale.isEmpty()) {
            toolTip += stale;
        }
        setCell(row, extensionColumn, identifier,
                stale.isEmpty() ? identifier : identifier + ", " + stale, toolTip.join('\n'));
        item(row, extensionColumn)->setData(secondLineRole, stale);

        const QString version = displayText(versionText(record));
        setCell(row, versionColumn, version, version, version);
        const QString others = displayText(alsoPreviewsText(claimant));
        setCell(row, alsoPreviewsColumn, others, others, others);
        item(row, alsoPreviewsColumn)->setForeground(roleColour(ColourRole::secondary));
        item(row, alsoPreviewsColumn)->setFont(roleFont(TextRole::caption));
    }
    m_isRendering = wasRendering;
}

void ClaimantTable::setClaimants(const std::vector<QLClaimant>& claimants) {
    m_claimants = claimants;
    fill();
}

void ClaimantTable::select(const std::optional<std::string>& claimantID) {
    const bool wasRendering = std::exchange(m_isRendering, true);
    const auto found = std::ranges::find_if(m_claimants, [&](const QLClaimant& claimant) {
        return claimant.record.bundleID == claimantID;
    });
    const auto row = static_cast<int>(found - m_claimants.begin());
    // The current cell stays where the keyboard put it, which may be a second row of the same
    // identity.
    QItemSelectionModel& selection = *selectionModel();
    if (found == m_claimants.end()) {
        selection.clearSelection();
    } else if (!selection.isRowSelected(row)) {
        selection.select(model()->index(row, 0),
                         QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    }
    m_isRendering = wasRendering;
}

void ClaimantTable::selectionWasChanged() {
    if (m_isRendering) {
        return;
    }
    const QModelIndexList rows = selectionModel()->selectedRows();
    onSelect(rows.isEmpty()
                 ? std::nullopt
                 : std::optional(
                       m_claimants[static_cast<std::size_t>(rows.front().row())].record.bundleID));
}

QString ClaimantTable::rowText(int row) const {
    QStringList texts;
    for (int column = 0; column < columnCount(); ++column) {
        texts += item(row, column)->data(Qt::AccessibleTextRole).toString();
    }
    return texts.join('\t');
}

void ClaimantTable::copy() {
    if (const QModelIndexList rows = selectionModel()->selectedRows(); !rows.isEmpty()) {
        QApplication::clipboard()->setText(rowText(rows.front().row()));
    }
}

void ClaimantTable::contextMenuEvent(QContextMenuEvent* event) {
    // Not the selected row: of two with one identity, a press on the second selects the first.
    const bool isByMouse = event->reason() == QContextMenuEvent::Mouse;
    const int row =
        isByMouse ? rowAt(viewport()->mapFromGlobal(event->globalPos()).y()) : currentRow();
    if (row >= 0) {
        openCopyMenu(*this, event->globalPos(), rowText(row),
                     m_claimants[static_cast<std::size_t>(row)].record.path);
    }
}

QSize ClaimantTable::sizeHint() const {
    return {QTableWidget::sizeHint().width(), minimumHeight()};
}

void ClaimantTable::resizeEvent(QResizeEvent* event) {
    QTableWidget::resizeEvent(event);
    shareWidth();
}

void ClaimantTable::changeEvent(QEvent* event) {
    QTableWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        fitToFont();
    }
    if (event->type() == QEvent::StyleChange) {
        fill();
    }
}

void ClaimantTable::keyPressEvent(QKeyEvent* event) {
    const bool isArrow = event->key() == Qt::Key_Up || event->key() == Qt::Key_Down;
    if (isArrow && currentIndex().isValid() && !selectionModel()->hasSelection()) {
        // The focus alone selects nothing, and a single row could not be moved to.
        selectRow(currentIndex().row());
        return;
    }
    QTableWidget::keyPressEvent(event);
}

void ClaimantTable::paintEvent(QPaintEvent* event) {
    QTableWidget::paintEvent(event);
    if (!hasFocus() || !currentIndex().isValid()) {
        return;
    }
    const bool isSelected = selectionModel()->isRowSelected(currentIndex().row());
    QPainter painter(viewport());
    painter.setPen(
        QPen(palette().color(isSelected ? QPalette::HighlightedText : QPalette::Highlight), 1,
             Qt::DotLine));
    painter.drawRect(QRect(0, rowViewportPosition(currentIndex().row()), viewport()->width(),
                           rowHeight(currentIndex().row()))
                         .adjusted(1, 1, -2, -2));
}

void ClaimantTable::currentChanged(const QModelIndex& current, const QModelIndex& previous) {
    QTableWidget::currentChanged(current, previous);
    // The frame spans the row.
    viewport()->update();
}

void ClaimantTable::fitToFont() {
    constexpr int headerPadding = 12;
    setColumnWidth(
        versionColumn,
        std::max(versionWidth, fontMetrics().horizontalAdvance("Version") + (2 * headerPadding)));
    constexpr int leastRows = 4;
    const int rowHeight = fontMetrics().height() + (2 * cellPadding);
    setMinimumHeight(std::max(leastHeight, horizontalHeader()->sizeHint().height() +
                                               (leastRows * rowHeight) + (2 * frameWidth())));
    verticalHeader()->reset();
}

void ClaimantTable::shareWidth() {
    const bool wasRendering = std::exchange(m_isRendering, true);
    const int flexible =
        viewport()->width() - columnWidth(badgeColumn) - columnWidth(versionColumn);
    setColumnWidth(extensionColumn,
                   std::max(static_cast<int>(flexible * m_extensionShare), leastFlexibleWidth));
    m_isRendering = wasRendering;
}

} // namespace peekmend
