#include "app/ClaimantTable.h"

#include "app/Style.h"
#include "app/model/Texts.h"

#include <QAbstractTableModel>
#include <QApplication>
#include <QClipboard>
#include <QHeaderView>
#include <QKeyEvent>
#include <QPainter>
#include <QStyledItemDelegate>

#include <algorithm>

namespace peekmend {

namespace {

enum Column : std::uint8_t { badgeColumn, extensionColumn, versionColumn, alsoColumn, columnCount };

constexpr int badgeWidth = 20;
constexpr int versionWidth = 70;
constexpr int leastHeight = 140;
constexpr int leastFlexibleWidth = 60;
constexpr int cellPadding = 4;

} // namespace

/// The rows are those of the report, by position, as identifiers may occur more than once.
class ClaimantTableModel : public QAbstractTableModel {
public:
    using QAbstractTableModel::QAbstractTableModel;

    /// The warning in a cell's second line.
    static constexpr int secondLineRole = Qt::UserRole;

    void setReport(const std::shared_ptr<const QLDiagnosisReport>& report) {
        const int before = rowCount({});
        const int after = report ? static_cast<int>(report->claimants.size()) : 0;
        // In place, so that what has the focus and how far the table is scrolled stay.
        if (after < before) {
            beginRemoveRows({}, after, before - 1);
            m_report = report;
            endRemoveRows();
        } else if (after > before) {
            beginInsertRows({}, before, after - 1);
            m_report = report;
            endInsertRows();
        } else {
            m_report = report;
        }
        if (const int kept = std::min(before, after); kept > 0) {
            emit dataChanged(index(0, 0), index(kept - 1, columnCount({}) - 1));
        }
    }

    [[nodiscard]] const QLClaimant& claimant(int row) const {
        return m_report->claimants[static_cast<std::size_t>(row)];
    }

    [[nodiscard]] int rowCount(const QModelIndex& parent) const override {
        return parent.isValid() || !m_report ? 0 : static_cast<int>(m_report->claimants.size());
    }

    [[nodiscard]] int columnCount(const QModelIndex& /*parent*/) const override {
        return Column::columnCount;
    }

    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation,
                                      int role) const override {
        if (orientation != Qt::Horizontal) {
            return {};
        }
        if (role == Qt::DisplayRole) {
            switch (static_cast<Column>(section)) {
            case badgeColumn:
                return QString();
            case extensionColumn:
                return "Extension";
            case versionColumn:
                return "Version";
            case alsoColumn:
                return "Also previews";
            case Column::columnCount:
                break;
            }
        }
        if (role == Qt::AccessibleTextRole && section == badgeColumn) {
            return "State";
        }
        if (role == Qt::TextAlignmentRole) {
            return QVariant::fromValue(Qt::AlignLeading | Qt::AlignVCenter);
        }
        return {};
    }

    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override {
        const QLClaimant& row = claimant(index.row());
        const auto column = static_cast<Column>(index.column());
        switch (role) {
        case Qt::DisplayRole:
            return singleLine(text(row, column));
        case Qt::AccessibleTextRole:
            return spokenText(row, column);
        case Qt::ToolTipRole:
            return plainToolTip(column == badgeColumn ? spokenText(row, column)
                                                      : toolTip(row, column));
        case Qt::ForegroundRole:
            if (column == badgeColumn) {
                return roleColour(stateColour(row.record.state));
            }
            return column == alsoColumn ? roleColour(ColourRole::secondary) : QVariant();
        case Qt::FontRole:
            return column == alsoColumn ? roleFont(TextRole::caption) : QVariant();
        case Qt::TextAlignmentRole:
            if (column == badgeColumn) {
                return Qt::AlignCenter;
            }
            return QVariant::fromValue(Qt::AlignLeading | Qt::AlignVCenter);
        case secondLineRole:
            return column == extensionColumn ? secondLine(row) : QString();
        default:
            return {};
        }
    }

private:
    static QString text(const QLClaimant& row, Column column) {
        switch (column) {
        case badgeColumn:
            return shown(stateBadge(row.record.state));
        case extensionColumn:
            return shown(row.record.bundleID);
        case versionColumn:
            return shown(versionText(row.record));
        case alsoColumn:
            return shown(alsoPreviewsText(row));
        case Column::columnCount:
            break;
        }
        return {};
    }

    static QString secondLine(const QLClaimant& row) {
        return shown(staleText(row.record).value_or(std::string_view()));
    }

    static QString spokenText(const QLClaimant& row, Column column) {
        if (column == badgeColumn) {
            return shown(textValue(row.record.state));
        }
        const QString second = column == extensionColumn ? secondLine(row) : QString();
        return second.isEmpty() ? text(row, column) : text(row, column) + ", " + second;
    }

    static QString toolTip(const QLClaimant& row, Column column) {
        if (column == extensionColumn && row.record.path) {
            return text(row, column) + '\n' + shown(*row.record.path);
        }
        return text(row, column);
    }

    std::shared_ptr<const QLDiagnosisReport> m_report;
};

namespace {

/// Draws cells of one or two lines.
class ClaimantDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option,
                                 const QModelIndex& index) const override {
        int height = QFontMetrics(option.font).height() + (2 * cellPadding);
        if (!index.data(ClaimantTableModel::secondLineRole).toString().isEmpty()) {
            height += spacing::tight + QFontMetrics(roleFont(TextRole::caption2)).height();
        }
        return {0, height};
    }

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override {
        const QString second = index.data(ClaimantTableModel::secondLineRole).toString();
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
        draw(first, cell.font,
             isSelected ? selectedText : cell.palette.color(group, QPalette::Text));
        draw(second, roleFont(TextRole::caption2),
             isSelected ? selectedText : roleColour(ColourRole::orange));
        painter->restore();
    }
};

} // namespace

ClaimantTable::ClaimantTable() : m_model(new ClaimantTableModel(this)) {
    setAccessibleName("Extensions that claim this file's type");
    setModel(m_model);
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
                columnWidth(extensionColumn) + std::max(columnWidth(alsoColumn), 1);
            m_extensionShare = columnWidth(extensionColumn) / flexible;
        }
    });
    connect(selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &ClaimantTable::selectionWasChanged);
}

void ClaimantTable::render(const std::shared_ptr<const QLDiagnosisReport>& report,
                           const std::optional<std::string>& selectedClaimantID) {
    const bool wasRendering = std::exchange(m_isRendering, true);
    m_model->setReport(report);
    int selectedRow = -1;
    for (int row = 0; selectedRow < 0 && row < m_model->rowCount({}); ++row) {
        if (m_model->claimant(row).record.bundleID == selectedClaimantID) {
            selectedRow = row;
        }
    }
    // The current cell stays where the keyboard put it, which may be a second row of the same
    // identity.
    QItemSelectionModel& selection = *selectionModel();
    if (selectedRow < 0) {
        selection.clearSelection();
    } else if (!selection.isRowSelected(selectedRow)) {
        selection.select(m_model->index(selectedRow, 0),
                         QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    }
    m_isRendering = wasRendering;
}

void ClaimantTable::selectionWasChanged() {
    if (m_isRendering) {
        return;
    }
    const QModelIndexList rows = selectionModel()->selectedRows();
    onSelect(rows.isEmpty() ? std::nullopt
                            : std::optional(m_model->claimant(rows.front().row()).record.bundleID));
}

void ClaimantTable::copy() {
    const QModelIndexList rows = selectionModel()->selectedRows();
    if (rows.isEmpty()) {
        return;
    }
    QStringList texts;
    for (int column = 0; column < columnCount; ++column) {
        texts += rows.front().siblingAtColumn(column).data(Qt::AccessibleTextRole).toString();
    }
    QApplication::clipboard()->setText(texts.join('\t'));
}

QSize ClaimantTable::sizeHint() const {
    return {QTableView::sizeHint().width(), minimumHeight()};
}

void ClaimantTable::resizeEvent(QResizeEvent* event) {
    QTableView::resizeEvent(event);
    shareWidth();
}

void ClaimantTable::changeEvent(QEvent* event) {
    QTableView::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        fitToFont();
    }
}

void ClaimantTable::keyPressEvent(QKeyEvent* event) {
    const bool isArrow = event->key() == Qt::Key_Up || event->key() == Qt::Key_Down;
    if (isArrow && currentIndex().isValid() && !selectionModel()->hasSelection()) {
        // The focus alone selects nothing, and a single row could not be moved to.
        selectRow(currentIndex().row());
        return;
    }
    QTableView::keyPressEvent(event);
}

void ClaimantTable::paintEvent(QPaintEvent* event) {
    QTableView::paintEvent(event);
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
    QTableView::currentChanged(current, previous);
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
