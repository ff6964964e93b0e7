#include "app/HelpView.h"

#include "app/BuildConfig.h"
#include "app/Style.h"
#include "app/Widgets.h"
#include "platform/SystemTools.h"

#include <QApplication>
#include <QEvent>
#include <QHBoxLayout>
#include <QPainter>
#include <QPushButton>
#include <QUrl>
#include <QVBoxLayout>

#include <utility>

namespace peekmend {

namespace {

constexpr int pointSpacing = 10;

constexpr const char* points[] = {
    "Ignore is all-or-nothing per extension. macOS has no per-file-type preference API, so "
    "ignoring an extension turns off its previews for every file type it supports, not just the "
    "one you're diagnosing.",
    "Peekmend doesn't silently disable anything. Every ignore is listed and confirmed before it's "
    "applied, and the most recent repair can be undone with Undo last repair.",
    "Peekmend may briefly flash a Quick Look preview window while probing which extension is "
    "actually serving a file's preview. That's expected \u2014 Peekmend closes it automatically "
    "and does not bring its own window forward over it.",
    "Detection is best-effort. Absence of a detected process doesn't prove an extension is "
    "unused, and the probe result can differ from Finder's Spacebar preview in rare edge cases.",
};

/// The address of a page: the one on the web, or else the one that is installed with the program.
std::string pageAddress(const char* webAddress, const QString& installedPage) {
    if (*webAddress != '\0') {
        return webAddress;
    }
    const QString pages = QString::fromStdString(programFolder()) + "/../share/peekmend/pages/";
    return QUrl::fromLocalFile(pages + installedPage).toString(QUrl::FullyEncoded).toStdString();
}

/// Text that is pressed like a button, so that it can be reached by all means.
class Link : public QPushButton {
public:
    explicit Link(const QString& text) : QPushButton(text) {
        setFlat(true);
        setAutoDefault(false);
        setCursor(Qt::PointingHandCursor);
        setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
        updateLook();
    }

    [[nodiscard]] QSize sizeHint() const override {
        return fontMetrics().size(Qt::TextSingleLine, text()) + QSize(2 * margin, 2 * margin);
    }

    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        painter.setPen(palette().color(QPalette::ButtonText));
        painter.drawText(rect(), Qt::AlignCenter, text());
        if (hasFocus()) {
            drawFocusFrame(*this);
        }
    }

    void changeEvent(QEvent* event) override {
        QPushButton::changeEvent(event);
        if (event->type() == QEvent::StyleChange) {
            updateLook();
        }
    }

private:
    static constexpr int margin = 2;

    void updateLook() {
        QFont linkFont = roleFont(TextRole::body);
        linkFont.setUnderline(true);
        setFont(linkFont);
        QPalette linkPalette = QApplication::palette();
        linkPalette.setColor(QPalette::ButtonText, linkPalette.color(QPalette::Link));
        setPalette(linkPalette);
    }
};

QWidget* makePoint(const char* text) {
    auto* const block = new TextBlock(TextRole::body);
    block->setText(text);
    auto* const point = new QWidget;
    auto* const row = makeLayout<QHBoxLayout>(point, 0, spacing::item);
    row->addWidget(new Label("\u2022", TextRole::body), 0, Qt::AlignTop);
    row->addWidget(block, 1);
    return point;
}

} // namespace

HelpView::HelpView(std::function<bool(const std::string& address)> openURL)
    : m_openURL(std::move(openURL)) {
    setWidgetResizable(true);
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
}

void HelpView::showEvent(QShowEvent* event) {
    // Many a run of the program never shows it.
    if (widget() == nullptr) {
        setWidget(makePage());
    }
    QScrollArea::showEvent(event);
}

QWidget* HelpView::makePage() {
    auto* const introduction = new TextBlock(TextRole::body);
    introduction->setInlineMarkdown(
        "Peekmend reads and changes the same `pluginkit` registrations macOS uses to decide which "
        "extension handles the Spacebar preview for a file type. A few things worth knowing:");

    auto* const pointColumn = new QVBoxLayout;
    pointColumn->setSpacing(pointSpacing);
    for (const char* const point : points) {
        pointColumn->addWidget(makePoint(point));
    }

    auto* const page = new QWidget;
    auto* const column = makeLayout<QVBoxLayout>(page, spacing::page, spacing::section);
    column->addWidget(new Label("About Peekmend", TextRole::title2));
    column->addWidget(introduction);
    column->addLayout(pointColumn);
    column->addWidget(makeDivider());
    column->addWidget(new Label("Links", TextRole::headline));
    const auto addLink = [&](const QString& text, const std::string& address) {
        auto* const link = new Link(text);
        connect(link, &QPushButton::clicked, this,
                [this, address] { static_cast<void>(m_openURL(address)); });
        column->addWidget(link);
    };
    addLink("Peekmend web page", pageAddress(buildConfig::productPage, "peekmend.html"));
    addLink("Troubleshooting Quick Look previews",
            pageAddress(buildConfig::troubleshootingPage, "troubleshooting.html"));
    column->addStretch();

    return page;
}

} // namespace peekmend
