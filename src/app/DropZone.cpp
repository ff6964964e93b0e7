#include "app/DropZone.h"

#include "app/Style.h"
#include "app/Widgets.h"
#include "app/model/DroppedFiles.h"

#include <QDragEnterEvent>
#include <QMimeData>
#include <QPainter>
#include <QVBoxLayout>

namespace peekmend {

namespace {

constexpr int symbolSize = 28;
constexpr double cornerRadius = 10;
constexpr double borderWidth = 1.5;
constexpr double dashLength = 5;
constexpr float targetedFillOpacity = 0.15F;
constexpr float borderOpacity = 0.3F;

std::vector<std::optional<FileURL>> filesIn(const QMimeData& data) {
    // The bytes as they were sent: an address object would change names that are not UTF-8.
    return droppedFiles(data.data("text/uri-list").toStdString());
}

/// The picture of what is to be dropped here.
class Symbol : public QWidget {
public:
    Symbol() {
        setAccessibleRole(*this, QAccessible::Graphic);
        setAccessibleName("Document");
        setFixedSize(symbolSize, symbolSize);
    }

protected:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        m_icon.paint(&painter, rect(), Qt::AlignCenter, QIcon::Disabled);
    }

private:
    QIcon m_icon = symbol("document");
};

} // namespace

DropZone::DropZone()
    : m_title(new ElidedLabel(QString(), TextRole::headline)),
      m_path(new ElidedLabel(QString(), TextRole::caption, ColourRole::secondary)),
      m_choose(new ActionButton("Choose F&ile\u2026")) {
    setAccessibleRole(*this, QAccessible::Grouping);
    setAccessibleName("Drop zone");
    setAcceptDrops(true);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);

    for (ElidedLabel* const label : {m_title, m_path}) {
        label->setAlignment(Qt::AlignCenter);
        label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    }
    m_choose->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    connect(m_choose, &QPushButton::clicked, this, [this] { onChoose(); });

    auto* const column = makeLayout<QVBoxLayout>(this, spacing::page, spacing::item);
    column->addWidget(new Symbol, 0, Qt::AlignHCenter);
    column->addWidget(m_title);
    column->addWidget(m_path);
    column->addWidget(m_choose, 0, Qt::AlignHCenter);
}

void DropZone::render(const std::optional<FileURL>& fileURL, bool isDropTargeted) {
    if (fileURL) {
        const std::string& path = fileURL->path();
        const std::string name = path.substr(path.rfind('/') + 1);
        m_title->setWholeText(displayText(name.empty() ? path : name));
        m_path->setWholeText(displayText(path));
    } else {
        m_title->setWholeText("Drop a file here");
    }
    m_path->setVisible(fileURL.has_value());
    if (m_isDropTargeted != isDropTargeted) {
        m_isDropTargeted = isDropTargeted;
        update();
    }
}

void DropZone::dragEnterEvent(QDragEnterEvent* event) {
    if (!filesIn(*event->mimeData()).empty()) {
        event->setDropAction(Qt::CopyAction);
        event->accept();
        onTargeted(true);
    }
}

void DropZone::dragMoveEvent(QDragMoveEvent* event) {
    // A key that is held down may have changed what the source allows since the drag came in.
    if (m_isDropTargeted) {
        event->setDropAction(Qt::CopyAction);
        event->accept();
    }
}

void DropZone::dragLeaveEvent(QDragLeaveEvent* /*event*/) {
    onTargeted(false);
}

void DropZone::dropEvent(QDropEvent* event) {
    onTargeted(false);
    const bool isHandled = onDrop(filesIn(*event->mimeData()));
    event->setDropAction(Qt::CopyAction);
    // A source that only moves would delete the file on hearing that it was taken.
    event->setAccepted(isHandled && event->dropAction() != Qt::MoveAction);
}

void DropZone::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor accent = palette().color(QPalette::Highlight);
    QColor fill = palette().color(QPalette::Base);
    QColor border = roleColour(ColourRole::secondary);
    if (m_isDropTargeted) {
        fill = border = accent;
        fill.setAlphaF(targetedFillOpacity);
    } else {
        border.setAlphaF(borderOpacity);
    }
    QPen pen(border, borderWidth);
    // The pattern counts in widths of the pen.
    pen.setDashPattern({dashLength / borderWidth, dashLength / borderWidth});
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawRoundedRect(rect(), cornerRadius, cornerRadius);
    painter.setPen(pen);
    painter.setBrush(Qt::NoBrush);
    constexpr double inset = borderWidth / 2;
    painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset),
                            cornerRadius - inset, cornerRadius - inset);
}

} // namespace peekmend
