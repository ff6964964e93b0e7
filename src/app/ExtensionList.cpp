#include "app/ExtensionList.h"

#include "app/Style.h"
#include "app/Widgets.h"
#include "app/model/ExtensionsViewModel.h"
#include "app/model/Texts.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPainter>
#include <QPushButton>
#include <QScrollBar>
#include <QVBoxLayout>

#include <algorithm>
#include <array>
#include <initializer_list>
#include <utility>

namespace peekmend {

namespace {

constexpr int glyphWidth = 16;
constexpr int rowPadding = 4;

struct ElectionButton {
    const char* text;
    const char* election;
};

constexpr std::array<ElectionButton, 3> electionButtons = {{
    {"Use", "use"},
    {"Default", "default"},
    {"Ignore", "ignore"},
}};

} // namespace

/// One row in sight.
class ExtensionRow : public QWidget {
public:
    explicit ExtensionRow(QWidget* parent)
        : QWidget(parent), m_glyph(new Label(QString(), TextRole::body)),
          m_identifier(new ElidedLabel(QString(), TextRole::bodyMedium)),
          m_version(new ElidedLabel(QString(), TextRole::caption, ColourRole::secondary)),
          m_path(new ElidedLabel(QString(), TextRole::caption, ColourRole::secondary)) {
        setAccessibleRole(*this, QAccessible::ListItem);
        for (Label* const label :
             std::initializer_list<Label*>{m_glyph, m_identifier, m_version, m_path}) {
            // The row has one.
            label->setContextMenuPolicy(Qt::NoContextMenu);
        }
        m_glyph->setFixedWidth(glyphWidth);
        m_glyph->setAlignment(Qt::AlignCenter);
        for (ElidedLabel* const label : {m_identifier, m_path}) {
            label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
        }
        m_version->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);

        auto* const detail = new QHBoxLayout;
        detail->setSpacing(spacing::small);
        detail->addWidget(m_version);
        detail->addWidget(m_path, 1);
        auto* const texts = new QVBoxLayout;
        texts->setSpacing(spacing::tight);
        texts->addWidget(m_identifier);
        texts->addLayout(detail);
        auto* const buttons = new QHBoxLayout;
        buttons->setSpacing(spacing::small);
        for (std::size_t i = 0; i < electionButtons.size(); ++i) {
            m_buttons.at(i) = new ActionButton(electionButtons.at(i).text);
            buttons->addWidget(m_buttons.at(i));
        }
        auto* const row = new QHBoxLayout(this);
        row->setContentsMargins(spacing::item, rowPadding, spacing::item, rowPadding);
        row->setSpacing(spacing::item);
        row->addWidget(m_glyph);
        row->addLayout(texts, 1);
        row->addLayout(buttons);
        fitToFont();
    }

    [[nodiscard]] const std::array<ActionButton*, electionButtons.size()>& buttons() const {
        return m_buttons;
    }

    [[nodiscard]] const QLExtensionRecord& record() const { return m_record; }

    [[nodiscard]] int index() const { return m_index; }

    /// What the row says, its parts with tabs between them.
    [[nodiscard]] QString text() const {
        QStringList texts{displayText(textValue(m_record.state)), displayText(m_record.bundleID)};
        for (const auto& part : {m_record.version, m_record.path}) {
            texts += displayText(part.value_or(std::string()));
        }
        return texts.join('\t');
    }

    [[nodiscard]] bool hasFocusedButton() const {
        return std::ranges::any_of(m_buttons, &QWidget::hasFocus);
    }

    /// Gives the focus to this button, or to another of the row where it is disabled.
    void focusButton(int button) {
        const auto count = static_cast<int>(m_buttons.size());
        for (int step = 0; step < count; ++step) {
            ActionButton* const candidate =
                m_buttons.at(static_cast<std::size_t>((button + step) % count));
            if (candidate->isEnabled()) {
                candidate->setFocus(Qt::TabFocusReason);
                return;
            }
        }
    }

    void setTabStop(bool isTabStop) {
        for (ActionButton* const button : m_buttons) {
            button->setFocusPolicy(isTabStop ? Qt::StrongFocus : Qt::ClickFocus);
        }
    }

    /// Whether the row shows this record, in whatever state.
    [[nodiscard]] bool isFor(int index, const QLExtensionRecord& record) const {
        return index == m_index && record.bundleID == m_record.bundleID &&
               record.path == m_record.path;
    }

    void setRecord(int index, std::size_t count, const QLExtensionRecord& record) {
        const bool isOther = !isFor(index, record);
        m_index = index;
        setAccessibleDescription(QString("%1 of %2").arg(index + 1).arg(count));
        if (!isOther && record == m_record) {
            return;
        }
        m_record = record;
        const QString identifier = displayText(record.bundleID);
        setAccessibleName(identifier + ", " + displayText(textValue(record.state)));
        m_glyph->setText(displayText(stateBadge(record.state)));
        m_glyph->setAccessibleName(displayText(textValue(record.state)));
        m_glyph->setRoles(TextRole::body, stateColour(record.state));
        m_identifier->setWholeText(identifier);
        m_version->setWholeText(displayText(record.version.value_or(std::string())));
        m_version->setVisible(record.version.has_value());
        m_path->setWholeText(displayText(record.path.value_or(std::string())));
        for (std::size_t i = 0; i < m_buttons.size(); ++i) {
            ActionButton& button = *m_buttons.at(i);
            if (isOther) {
                // A press that began on another record must not become a click on this one.
                button.cancelPress();
            }
            button.setAccessibleName(QString(electionButtons.at(i).text) + " " + identifier);
            button.setEnabled(canElect(record, electionButtons.at(i).election));
        }
    }

    void fitToFont() {
        const QFont font = roleFont(TextRole::caption);
        for (ActionButton* const button : m_buttons) {
            button->setFont(font);
        }
        constexpr int versionCharacters = 24;
        m_version->setMaximumWidth(m_version->fontMetrics().averageCharWidth() * versionCharacters);
    }

protected:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        QColor line = roleColour(ColourRole::secondary);
        constexpr float lineOpacity = 0.25F;
        line.setAlphaF(lineOpacity);
        painter.fillRect(0, height() - 1, width(), 1, line);
    }

private:
    QLExtensionRecord m_record;
    int m_index = -1;
    Label* m_glyph;
    ElidedLabel* m_identifier;
    ElidedLabel* m_version;
    ElidedLabel* m_path;
    std::array<ActionButton*, electionButtons.size()> m_buttons{};
};

ExtensionList::ExtensionList() {
    setFocusPolicy(Qt::NoFocus);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    viewport()->setBackgroundRole(QPalette::Base);
    viewport()->setAutoFillBackground(true);
    setAccessibleRole(*viewport(), QAccessible::List);
    viewport()->setAccessibleName("Quick Look preview extensions");
}

void ExtensionList::setRecords(const std::vector<QLExtensionRecord>& records) {
    if (records == m_records) {
        return;
    }
    m_records = records;
    viewport()->setAccessibleDescription(QString("%1 extensions").arg(m_records.size()));
    placeRows();
}

void ExtensionList::addRow() {
    auto* const row = new ExtensionRow(viewport());
    row->hide();
    m_rows.push_back(row);
    for (std::size_t i = 0; i < electionButtons.size(); ++i) {
        ActionButton* const button = row->buttons().at(i);
        button->installEventFilter(this);
        connect(button, &QPushButton::clicked, this, [this, row, i] {
            // A copy, as the row may show another record when the call returns.
            const QLExtensionRecord record = row->record();
            onElect(record, electionButtons.at(i).election);
        });
    }
}

void ExtensionList::measureRows() {
    if (m_rows.empty()) {
        return;
    }
    for (ExtensionRow* const row : m_rows) {
        row->fitToFont();
    }
    m_rowHeight = std::max(m_rows.front()->sizeHint().height(), 1);
    verticalScrollBar()->setSingleStep(m_rowHeight);
}

int ExtensionList::rowAt(int y) const {
    return (verticalScrollBar()->value() + y) / m_rowHeight;
}

ExtensionRow* ExtensionList::rowShowing(int index) const {
    if (index < 0 || m_rows.empty()) {
        return nullptr;
    }
    ExtensionRow* const row = m_rows[static_cast<std::size_t>(index) % m_rows.size()];
    return row->index() == index && !row->isHidden() ? row : nullptr;
}

void ExtensionList::placeRows() {
    if (m_rows.empty()) {
        if (m_records.empty()) {
            return;
        }
        // One to measure; how many there are to be depends on it.
        addRow();
        measureRows();
    }
    const int height = viewport()->height();
    const auto count = static_cast<int>(m_records.size());
    QScrollBar& bar = *verticalScrollBar();
    bar.setPageStep(height);
    bar.setRange(0, std::max((count * m_rowHeight) - height, 0));

    const auto needed = static_cast<std::size_t>(height / m_rowHeight) + 2;
    if (m_rows.size() < needed) {
        while (m_rows.size() < needed) {
            addRow();
        }
        measureRows();
    }

    const int first = rowAt(0);
    const int last = std::min(rowAt(height - 1), count - 1);
    std::vector<bool> isInSight(m_rows.size());
    for (int index = first; index <= last; ++index) {
        const std::size_t slot = static_cast<std::size_t>(index) % m_rows.size();
        const QLExtensionRecord& record = m_records[static_cast<std::size_t>(index)];
        ExtensionRow& row = *m_rows[slot];
        isInSight[slot] = true;
        if (row.hasFocusedButton() && !row.isFor(index, record)) {
            // Pressing a key must not act on a record that has just come under the focus.
            setFocus();
        }
        row.setRecord(index, m_records.size(), record);
        row.setGeometry(0, (index * m_rowHeight) - bar.value(), viewport()->width(), m_rowHeight);
        row.setVisible(true);
        // The order of the widgets is the one in which they are read.
        row.raise();
    }
    for (std::size_t slot = 0; slot < m_rows.size(); ++slot) {
        if (!isInSight[slot]) {
            if (m_rows[slot]->hasFocusedButton()) {
                setFocus();
            }
            m_rows[slot]->hide();
        }
    }
    const auto focused = std::ranges::find_if(m_rows, &ExtensionRow::hasFocusedButton);
    setCurrent(focused != m_rows.end() ? (*focused)->index()
                                       : std::clamp(m_current, first, std::max(last, first)));
}

void ExtensionList::setCurrent(int index) {
    m_current = index;
    for (ExtensionRow* const row : m_rows) {
        row->setTabStop(row->index() == index);
    }
}

void ExtensionList::copy() {
    if (const ExtensionRow* const row = rowShowing(m_current)) {
        QApplication::clipboard()->setText(row->text());
    }
}

void ExtensionList::contextMenuEvent(QContextMenuEvent* event) {
    const bool isByMouse = event->reason() == QContextMenuEvent::Mouse;
    if (const ExtensionRow* const row =
            rowShowing(isByMouse ? rowAt(event->pos().y()) : m_current)) {
        openCopyMenu(*this, event->globalPos(), row->text(), row->record().path);
    }
}

void ExtensionList::bringIntoSight(int index) {
    QScrollBar& bar = *verticalScrollBar();
    const int top = index * m_rowHeight;
    if (top < bar.value()) {
        bar.setValue(top);
    } else if (top + m_rowHeight > bar.value() + viewport()->height()) {
        bar.setValue(top + m_rowHeight - viewport()->height());
    }
}

void ExtensionList::moveTo(int index, int button) {
    if (m_records.empty()) {
        return;
    }
    const int target = std::clamp(index, 0, static_cast<int>(m_records.size()) - 1);
    bringIntoSight(target);
    if (ExtensionRow* const row = rowShowing(target)) {
        row->focusButton(button);
    }
}

bool ExtensionList::handleKey(const QKeyEvent& event, int button) {
    if (event.modifiers().testAnyFlags(Qt::ControlModifier | Qt::AltModifier | Qt::ShiftModifier)) {
        return false;
    }
    const int page = std::max((viewport()->height() / m_rowHeight) - 1, 1);
    const std::pair<int, int> targets[] = {
        {Qt::Key_Up, m_current - 1},
        {Qt::Key_Down, m_current + 1},
        {Qt::Key_PageUp, m_current - page},
        {Qt::Key_PageDown, m_current + page},
        {Qt::Key_Home, 0},
        {Qt::Key_End, static_cast<int>(m_records.size()) - 1},
    };
    for (const auto& [key, target] : targets) {
        if (event.key() == key) {
            moveTo(target, button);
            return true;
        }
    }
    const bool isRight = event.key() == Qt::Key_Right;
    return (isRight || event.key() == Qt::Key_Left) &&
           focusNextPrevChild(isRight != isRightToLeft());
}

bool ExtensionList::eventFilter(QObject* object, QEvent* event) {
    const auto* const row = dynamic_cast<const ExtensionRow*>(object->parent());
    if (row == nullptr) {
        return QAbstractScrollArea::eventFilter(object, event);
    }
    if (event->type() == QEvent::KeyPress) {
        const auto button = std::ranges::find(row->buttons(), object) - row->buttons().begin();
        return handleKey(*static_cast<QKeyEvent*>(event), static_cast<int>(button));
    }
    if (event->type() == QEvent::FocusIn) {
        setCurrent(row->index());
        const auto reason = static_cast<QFocusEvent*>(event)->reason();
        if (reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason) {
            bringIntoSight(row->index());
        }
    }
    return false;
}

void ExtensionList::keyPressEvent(QKeyEvent* event) {
    // The focus is here when the row that had it has been scrolled out of sight.
    event->setAccepted(handleKey(*event, 0));
}

void ExtensionList::changeEvent(QEvent* event) {
    QAbstractScrollArea::changeEvent(event);
    if (event->type() == QEvent::StyleChange) {
        measureRows();
        placeRows();
    }
}

void ExtensionList::paintEvent(QPaintEvent* event) {
    QAbstractScrollArea::paintEvent(event);
    if (hasFocus()) {
        drawFocusFrame(*viewport());
    }
}

void ExtensionList::resizeEvent(QResizeEvent* event) {
    QAbstractScrollArea::resizeEvent(event);
    placeRows();
}

void ExtensionList::scrollContentsBy(int /*dx*/, int /*dy*/) {
    placeRows();
}

} // namespace peekmend
