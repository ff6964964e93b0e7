#include "app/ClaimantTable.h"
#include "app/ContentView.h"
#include "app/DropZone.h"
#include "app/ExtensionList.h"
#include "app/ExtensionsView.h"
#include "app/MainWindow.h"
#include "app/ModelSupport.h"
#include "app/PeekmendApp.h"
#include "app/RepairView.h"
#include "app/Sheet.h"
#include "app/Style.h"
#include "app/Widgets.h"

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QDropEvent>
#include <QFontDatabase>
#include <QHeaderView>
#include <QMenuBar>
#include <QMimeData>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QToolTip>

#include <algorithm>

namespace peekmend::test {
namespace {

using enum QLRegistrationState;

/// The first widget of this class inside `root`, which need not be known to the toolkit's own
/// search.
template <typename Widget>
Widget& inside(const QWidget& root) {
    for (QWidget* const child : root.findChildren<QWidget*>()) {
        if (auto* const found = dynamic_cast<Widget*>(child)) {
            return *found;
        }
    }
    throw std::runtime_error("no such widget");
}

QLClaimant claimant(std::string bundleID, QLRegistrationState state = unmarked) {
    return {.record = {std::move(bundleID), state, "1.0", "/Applications/A.app/P.appex"},
            .matchedUTIs = {"public.text"},
            .allClaimedUTIs = {"public.text"}};
}

QLDiagnosisReport reportOf(std::vector<QLClaimant> claimants) {
    QLDiagnosisReport report;
    for (const QLClaimant& one : claimants) {
        report.records.push_back(one.record);
    }
    report.verdict = composeVerdict(claimants, {});
    report.claimants = std::move(claimants);
    report.activeHandler.emplace().invokedPreview = true;
    return report;
}

void sendKey(QWidget* widget, int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    for (const auto type : {QEvent::KeyPress, QEvent::KeyRelease}) {
        QKeyEvent event(type, key, modifiers);
        QApplication::sendEvent(widget, &event);
    }
}

/// A window whose surroundings the test plays.
class Window : public World {
public:
    Window() {
        window->show();
        window->activateWindow();
        EXPECT_TRUE(eventually([this] {
            QApplication::processEvents();
            return window->isActiveWindow();
        }));
    }

    ~Window() { delete window; }

    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

    /// Shows the diagnosis of a file.
    void diagnose(QLDiagnosisReport result, const std::string& path = "/a.txt") {
        report = std::move(result);
        model().chooseFile(FileURL(path));
        settle();
        QApplication::processEvents();
    }

    /// Shows these in the extensions tab.
    void list(std::vector<QLExtensionRecord> records) {
        report.records = std::move(records);
        window->content().setCurrentIndex(1);
        window->content().extensionsView().model().reload();
        settle();
        QApplication::processEvents();
    }

    [[nodiscard]] RepairViewModel& model() const { return window->content().repairView().model(); }

    [[nodiscard]] ClaimantTable& table() const { return inside<ClaimantTable>(*window); }

    /// The button in sight with this text, or else this accessible name.
    [[nodiscard]] QPushButton& button(const QString& text) const {
        for (QPushButton* const candidate : window->findChildren<QPushButton*>()) {
            if (candidate->isVisible() && (QString(candidate->text()).remove('&') == text ||
                                           candidate->accessibleName() == text)) {
                return *candidate;
            }
        }
        throw std::runtime_error("no button " + text.toStdString());
    }

    /// The open dialog; null when there is none.
    [[nodiscard]] QDialog* dialog() const {
        QApplication::processEvents();
        for (QDialog* const candidate : window->findChildren<QDialog*>()) {
            if (candidate->isVisible()) {
                return candidate;
            }
        }
        return nullptr;
    }

    MainWindow* window = new MainWindow(services(), {});
};

QStringList textsOf(const QWidget& widget) {
    QStringList texts;
    for (const TextBlock* const block : widget.findChildren<TextBlock*>()) {
        texts += block->toPlainText();
    }
    return texts;
}

constexpr const char* barTexts[] = {"Prefer this handler\u2026", "Undo last repair", "Refresh",
                                    "Open System Settings\u2026", "Copy report"};

/// The enabled ones among the buttons under the report.
QStringList enabledButtons(const Window& view) {
    QStringList enabled;
    for (const char* const text : barTexts) {
        if (view.button(text).isEnabled()) {
            enabled += text;
        }
    }
    return enabled;
}

TEST(Window, OpensOnRepairAndNoSmallerThanItMayBe) {
    const Window view;
    EXPECT_EQ(view.window->size(), QSize(760, 560));
    EXPECT_EQ(view.window->content().currentIndex(), 0);
    EXPECT_EQ(view.window->minimumSize(), QSize(640, 520));
    QStringList tabs;
    for (int i = 0; i < view.window->content().count(); ++i) {
        tabs += view.window->content().tabText(i);
    }
    EXPECT_EQ(tabs, QStringList({"Repair", "Extensions", "Help"}));
}

TEST(Window, NeedsNoMoreRoomForAnyReportAndMoreOnlyForALargeFont) {
    Window view;
    std::vector<QLClaimant> claimants(30, claimant("org." + std::string(3000, 'x')));
    for (int i = 0; i < 200; ++i) {
        claimants.front().allClaimedUTIs.push_back("org.type" + std::to_string(i));
    }
    view.window->resize(640, 520);
    view.diagnose(reportOf(claimants), "/" + std::string(4000, 'p'));
    EXPECT_EQ(view.window->size(), QSize(640, 520));
    EXPECT_EQ(view.window->minimumSize(), QSize(640, 520));

    const QFont before = QApplication::font();
    QFont large = before;
    large.setPointSizeF(before.pointSizeF() * 1.5);
    QApplication::setFont(large);
    // Nothing beneath the report is cut off or lies over another thing.
    EXPECT_TRUE(eventually([&] {
        QApplication::processEvents();
        int right = 0;
        for (const char* const text : barTexts) {
            const QPushButton& button = view.button(text);
            const int left = button.mapTo(view.window, QPoint()).x();
            if (left <= right || button.width() < button.minimumSizeHint().width()) {
                return false;
            }
            right = left + button.width();
        }
        return right < view.window->width();
    }));
    QApplication::setFont(before);
}

TEST(Window, EnablesWhatTheStateAllows) {
    Window view;
    using Buttons = QStringList;
    const QString prefer = "Prefer this handler\u2026";
    const QString settings = "Open System Settings\u2026";
    EXPECT_EQ(enabledButtons(view), Buttons({"Refresh", settings}));
    view.report = reportOf({claimant("a.a"), claimant("b.b", ignored)});
    view.model().chooseFile(FileURL("/a"));
    EXPECT_EQ(enabledButtons(view), Buttons({settings}));
    view.settle();
    EXPECT_EQ(enabledButtons(view), Buttons({"Refresh", settings, "Copy report"}));
    view.table().selectRow(1);
    EXPECT_EQ(enabledButtons(view), Buttons({prefer, "Refresh", settings, "Copy report"}));
    view.model().confirmPrefer(view.report.claimants.back().record);
    view.settle();
    EXPECT_EQ(enabledButtons(view),
              Buttons({prefer, "Undo last repair", "Refresh", settings, "Copy report"}));
    view.diagnose(reportOf({claimant("a.a")}));
    EXPECT_EQ(enabledButtons(view),
              Buttons({"Undo last repair", "Refresh", settings, "Copy report"}));
}

TEST(Window, ShowsTextFromOutsideAsItIs) {
    Window view;
    const std::string name = "org.<b>x</b><img src=\"/etc/passwd\">&amp;";
    const QString shownName = displayText(name);
    QLDiagnosisReport report = reportOf({claimant(name), claimant("org.b")});
    report.fetchError = name;
    view.diagnose(report, "/" + name);
    const QStringList texts = textsOf(*view.window);
    EXPECT_TRUE(texts.contains("Couldn't read the Quick Look extension inventory: " + shownName));
    EXPECT_TRUE(texts.contains(displayText(report.verdict)));
    EXPECT_EQ(view.table().model()->index(0, 1).data(), shownName);
    for (const QLabel* const label : view.window->findChildren<QLabel*>()) {
        EXPECT_EQ(label->textFormat(), label->pixmap().isNull() ? Qt::PlainText : Qt::AutoText);
    }
    const QString toolTip = view.table().model()->index(0, 1).data(Qt::ToolTipRole).toString();
    EXPECT_FALSE(toolTip.contains("<img")) << "a tool tip is markup whose text is escaped";
    EXPECT_TRUE(toolTip.contains(shownName.left(8).toHtmlEscaped()));

    view.model().select(name);
    view.model().openPreferSheet();
    ASSERT_NE(view.dialog(), nullptr);
    EXPECT_EQ(textsOf(*view.dialog()).front(), "Prefer " + shownName + "?");
    view.model().cancelPrefer();
    view.report.fetchError.reset();
    view.list({{name, unmarked, {}, {}}});
    view.button("Ignore " + shownName).click();
    ASSERT_NE(view.dialog(), nullptr);
    EXPECT_EQ(textsOf(*view.dialog()),
              QStringList({"Ignore " + shownName + "?", "Quick Look previews will no longer use " +
                                                            shownName +
                                                            " for any file type it supports."}));
    // What would turn our own sentences around is not let through.
    EXPECT_EQ(displayText("a\u202Eb"), QString("a\uFFFDb"));
}

TEST(Window, AsksBeforeItPrefers) {
    Window view;
    std::vector<QLClaimant> claimants{claimant("com.panic.Nova.NovaQuickLookPreview")};
    for (int i = 0; i < 100; ++i) {
        claimants.push_back(claimant("org.peer" + std::to_string(i)));
    }
    view.diagnose(reportOf(claimants));
    view.table().selectRow(1);

    struct Case {
        int key;
        std::size_t commandCount;
    };

    for (const Case& one : {Case{Qt::Key_Escape, 0}, Case{Qt::Key_Return, 102}}) {
        view.button("Prefer this handler\u2026").click();
        QDialog* const sheet = view.dialog();
        ASSERT_NE(sheet, nullptr);
        EXPECT_EQ(sheet->windowModality(), Qt::WindowModal);
        EXPECT_TRUE(sheet->width() >= 420 && sheet->width() <= 520);
        const QStringList texts = textsOf(*sheet);
        EXPECT_EQ(texts.at(0), "Prefer org.peer0?");
        EXPECT_TRUE(texts.at(2).startsWith("com.panic.Nova.NovaQuickLookPreview\nNova's"));
        EXPECT_TRUE(texts.at(2).endsWith("org.peer99"));
        for (const TextBlock* const block : sheet->findChildren<TextBlock*>()) {
            EXPECT_LE(block->height(), 220);
            EXPECT_TRUE(sheet->rect().contains(block->geometry()));
        }
        for (const QPushButton* const button : sheet->findChildren<QPushButton*>()) {
            EXPECT_TRUE(sheet->rect().contains(button->geometry()));
            EXPECT_EQ(button->isDefault(), button->text() == "Confirm");
        }
        sendKey(sheet->focusWidget(), one.key);
        view.settle();
        EXPECT_EQ(view.dialog(), nullptr);
        EXPECT_EQ(view.commands.size(), one.commandCount);
    }
}

TEST(Window, KeepsTheSheetClosableWhenItsClaimantIsGone) {
    Window view;
    view.diagnose(reportOf({claimant("a.a"), claimant("b.b")}));
    view.table().selectRow(0);
    view.button("Prefer this handler\u2026").click();
    view.diagnose(reportOf({claimant("b.b")}));
    ASSERT_NE(view.dialog(), nullptr);
    EXPECT_EQ(textsOf(*view.dialog()), QStringList());
    sendKey(view.dialog(), Qt::Key_Escape);
    EXPECT_EQ(view.dialog(), nullptr);
    EXPECT_FALSE(view.model().state().showPreferSheet);
}

TEST(Window, ShowsOneAlertAsLongAsThereIsAMessage) {
    Window view;
    view.failing = {"use a.a", "use b.b"};
    view.diagnose(reportOf({claimant("a.a"), claimant("b.b")}));
    const auto fail = [&](int row) {
        view.model().confirmPrefer(view.report.claimants.at(static_cast<std::size_t>(row)).record);
        view.settle();
    };
    fail(0);
    QDialog* const alert = view.dialog();
    ASSERT_NE(alert, nullptr);
    EXPECT_EQ(textsOf(*alert), QStringList({"Peekmend", "Couldn't apply repair: no\n"}));
    fail(1);
    EXPECT_EQ(view.dialog(), alert) << "a new message uses the open alert";
    sendKey(alert, Qt::Key_Escape);
    EXPECT_EQ(view.dialog(), nullptr);
    EXPECT_EQ(view.model().state().errorMessage, std::nullopt);
    fail(0);
    EXPECT_NE(view.dialog(), nullptr);
    view.model().refresh();
    EXPECT_EQ(view.dialog(), nullptr) << "a new diagnosis takes the message away";
    view.settle();
}

TEST(Window, TakesTheFirstOfThreeDroppedFiles) {
    Window view;
    QMimeData data;
    data.setData("text/uri-list", "# three\r\nfile:///a%FF.txt\r\nfile:///b\r\nfile:///c\r\n");
    auto& zone = inside<DropZone>(*view.window);
    QDragEnterEvent enter({1, 1}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&zone, &enter);
    EXPECT_TRUE(enter.isAccepted());
    EXPECT_TRUE(view.model().state().isDropTargeted);
    QDropEvent drop({1, 1}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&zone, &drop);
    EXPECT_TRUE(drop.isAccepted());
    EXPECT_FALSE(view.model().state().isDropTargeted);
    view.settle();
    EXPECT_EQ(view.diagnosed, std::vector<std::string>{"/a\xFF.txt"});

    QMimeData text;
    text.setText("file:///not/a/file/but/a/text");
    QDragEnterEvent other({1, 1}, Qt::CopyAction, &text, Qt::LeftButton, Qt::NoModifier);
    other.ignore();
    QApplication::sendEvent(&zone, &other);
    EXPECT_FALSE(other.isAccepted());
    EXPECT_FALSE(view.model().state().isDropTargeted);
}

TEST(Window, MovesThroughRowsOfOneIdentityWithTheKeyboard) {
    Window view;
    view.diagnose(reportOf({claimant("a.a"), claimant("a.a"), claimant("b.b")}));
    ClaimantTable& table = view.table();
    const auto selectedRow = [&] { return table.selectionModel()->selectedRows().front().row(); };
    table.setFocus();
    // The second of the two makes the first the selected claimant, but is no dead end.
    for (const int row : {0, 0, 2}) {
        sendKey(&table, Qt::Key_Down);
        EXPECT_EQ(selectedRow(), row);
    }
    // A new report with another row in front keeps the claimant, not the row.
    view.diagnose(reportOf({claimant("c.c"), claimant("b.b")}));
    EXPECT_EQ(view.model().state().selectedClaimantID, std::nullopt) << "another file";
    view.model().select("b.b");
    EXPECT_EQ(selectedRow(), 1);
    sendKey(&table, Qt::Key_C, Qt::ControlModifier);
    view.window->menuBar()->actions().at(2)->menu()->actions().front()->trigger();
    EXPECT_EQ(QApplication::clipboard()->text(), "unmarked\tb.b\t1.0\t\u2014");
}

TEST(Window, FollowsTheThemeWhileItIsOpen) {
    Window view;
    view.diagnose(reportOf({claimant("a.a")}));
    const QPalette before = QApplication::palette();
    QPalette dark = before;
    for (const auto role : {QPalette::Window, QPalette::Base}) {
        dark.setColor(role, Qt::black);
    }
    for (const auto role : {QPalette::WindowText, QPalette::Text}) {
        dark.setColor(role, Qt::white);
    }
    QApplication::setPalette(dark);
    QApplication::processEvents();
    for (const QWidget* const child : view.window->findChildren<QWidget*>()) {
        if (dynamic_cast<const Label*>(child) != nullptr ||
            dynamic_cast<const TextBlock*>(child) != nullptr) {
            EXPECT_GT(child->palette().color(QPalette::Text).lightness(), 127);
        }
    }
    QApplication::setPalette(before);
}

TEST(Window, SaysItsStatesAndButtonsInWords) {
    Window view;
    view.diagnose(reportOf({claimant("a.a", enabled), claimant("b.b", ignored), claimant("c.c")}));
    const auto name = [](QObject* object) {
        return QAccessible::queryAccessibleInterface(object)->text(QAccessible::Name);
    };
    for (const auto& [row, word] : {std::pair(0, "enabled"), {1, "ignored"}, {2, "unmarked"}}) {
        EXPECT_EQ(view.table().model()->index(row, 0).data(Qt::AccessibleTextRole), word);
    }
    view.list({{"a.a", enabled, "1.0", "/A"}, {"a.a", ignored, "1.0", "/B"}});
    for (QPushButton* const button : view.window->findChildren<QPushButton*>()) {
        const QString text = button->text().remove('&');
        EXPECT_TRUE(name(button).startsWith(text)) << text.toStdString();
    }
    QStringList rows;
    for (QWidget* const child : inside<ExtensionList>(*view.window)
                                    .viewport()
                                    ->findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
        if (child->isVisible()) {
            rows += name(child);
        }
    }
    EXPECT_EQ(rows, QStringList({"a.a, enabled", "a.a, ignored"}));
}

std::vector<QLExtensionRecord> manyRecords(int count) {
    std::vector<QLExtensionRecord> records;
    for (int i = 0; i < count; ++i) {
        records.push_back({"org.e" + std::to_string(i), unmarked, "1.0", "/p" + std::to_string(i)});
    }
    return records;
}

TEST(ExtensionsTab, LoadsEachTimeItAppears) {
    Window view;
    view.report.records = {{"a.a", unmarked, {}, {}}};
    for (const std::size_t loads : {1U, 2U}) {
        view.window->content().setCurrentIndex(1);
        EXPECT_FALSE(view.button("Refresh").isEnabled());
        view.settle();
        EXPECT_EQ(view.diagnosed.size(), loads);
        view.window->content().setCurrentIndex(2);
    }
}

TEST(ExtensionsTab, ActsOnTheRecordThatARowShows) {
    Window view;
    view.list({{"a.a", unmarked, "1", "/first"}, {"a.a", ignored, "2", "/second"}});
    QList<QPushButton*> uses;
    for (QPushButton* const button : view.window->findChildren<QPushButton*>()) {
        if (button->accessibleName() == "Use a.a" && button->isVisible()) {
            uses += button;
        }
    }
    ASSERT_EQ(uses.size(), 2);
    uses.back()->click();
    view.settle();
    EXPECT_EQ(view.window->content().extensionsView().model().state().undoSnapshot->states,
              (std::map<std::string, QLRegistrationState>{{"a.a", ignored}}));
}

TEST(ExtensionsTab, HoldsThousandsInAFewRowsThatTheKeyboardMovesThrough) {
    Window view;
    view.list(manyRecords(2000));
    EXPECT_LT(view.window->findChildren<QPushButton*>().size(), 120);
    view.button("Use org.e0").setFocus();
    const auto focusedName = [] { return QApplication::focusWidget()->accessibleName(); };
    const std::pair<int, const char*> steps[] = {
        {Qt::Key_Down, "Use org.e1"},    {Qt::Key_Right, "Ignore org.e1"},
        {Qt::Key_Down, "Ignore org.e2"}, {Qt::Key_Up, "Ignore org.e1"},
        {Qt::Key_Left, "Use org.e1"},    {Qt::Key_End, "Use org.e1999"},
        {Qt::Key_Up, "Use org.e1998"},   {Qt::Key_Home, "Use org.e0"},
        {Qt::Key_Up, "Use org.e0"},
    };
    for (const auto& [key, name] : steps) {
        sendKey(QApplication::focusWidget(), key);
        EXPECT_EQ(focusedName(), name);
    }
    sendKey(QApplication::focusWidget(), Qt::Key_PageDown);
    const int page = focusedName().mid(9).toInt();
    EXPECT_TRUE(page > 3 && page < 30) << page;

    // Tab goes on to the row's other button and then out of the list.
    sendKey(QApplication::focusWidget(), Qt::Key_Tab);
    EXPECT_EQ(focusedName(), QString("Ignore org.e%1").arg(page));
    sendKey(QApplication::focusWidget(), Qt::Key_Tab);
    EXPECT_FALSE(inside<ExtensionList>(*view.window).isAncestorOf(QApplication::focusWidget()));
}

TEST(ExtensionsTab, NeverLeavesTheFocusOnAnotherRecord) {
    Window view;
    view.list(manyRecords(2000));
    view.button("Use org.e0").setFocus();
    auto& list = inside<ExtensionList>(*view.window);
    for (int position = 0; position < 4000; position += 7) {
        list.verticalScrollBar()->setValue(position);
        ASSERT_TRUE(list.hasFocus() ||
                    QApplication::focusWidget()->accessibleName() == "Use org.e0");
    }
    EXPECT_TRUE(list.hasFocus());
    sendKey(&list, Qt::Key_Space);
    sendKey(&list, Qt::Key_Down);
    EXPECT_TRUE(QApplication::focusWidget()->accessibleName().startsWith("Use org.e"));
    EXPECT_TRUE(view.commands.empty());

    // A press that began on one record is no click on the one that a reload has put there.
    list.verticalScrollBar()->setValue(0);
    QPushButton& pressed = view.button("Use org.e1");
    const auto sendMouse = [&](QEvent::Type type, Qt::MouseButtons buttons) {
        const QPointF place = pressed.rect().center();
        QMouseEvent event(type, place, pressed.mapToGlobal(place), Qt::LeftButton, buttons,
                          Qt::NoModifier);
        QApplication::sendEvent(&pressed, &event);
    };
    const auto clickOver = [&](const std::function<void()>& meanwhile) {
        sendMouse(QEvent::MouseButtonPress, Qt::LeftButton);
        meanwhile();
        sendMouse(QEvent::MouseMove, Qt::LeftButton);
        sendMouse(QEvent::MouseButtonRelease, Qt::NoButton);
        view.settle();
        return view.commands;
    };
    auto records = manyRecords(2000);
    records.erase(records.begin());
    EXPECT_EQ(clickOver([&] { view.list(records); }), Strings());
    EXPECT_EQ(clickOver([] {}), Strings({"use org.e2", "restart"}));
}

TEST(ExtensionsTab, KeepsFocusAndPlaceOverAReload) {
    Window view;
    auto records = manyRecords(500);
    view.list(records);
    auto& list = inside<ExtensionList>(*view.window);
    list.verticalScrollBar()->setValue(1000);
    const int index = (1000 / view.button("Use org.e30").parentWidget()->height()) + 2;
    view.button(QString("Use org.e%1").arg(index)).setFocus();
    // The focused button becomes one that changes nothing.
    records.at(static_cast<std::size_t>(index)).state = enabled;
    view.list(records);
    EXPECT_EQ(list.verticalScrollBar()->value(), 1000);
    // It keeps the focus, so that a second press of the key does nothing else.
    EXPECT_EQ(QApplication::focusWidget()->accessibleName(), QString("Use org.e%1").arg(index));
    sendKey(QApplication::focusWidget(), Qt::Key_Space);
    sendKey(QApplication::focusWidget(), Qt::Key_Tab);
    EXPECT_EQ(QApplication::focusWidget()->accessibleName(), QString("Default org.e%1").arg(index));
    view.button("Refresh").setFocus();
    for (int presses = 0; presses < 2; ++presses) {
        sendKey(QApplication::focusWidget(), Qt::Key_Space);
        EXPECT_TRUE(view.button("Refresh").hasFocus() && !view.button("Refresh").isEnabled());
    }
    view.settle();
    EXPECT_TRUE(view.button("Refresh").hasFocus() && view.button("Refresh").isEnabled());
    EXPECT_TRUE(view.commands.empty());
}

TEST(Program, TellsOfARepairThatFailsAfterItsWindowIsGoneAndThenEnds) {
    const TemporaryFolder folder;
    qputenv("XDG_DATA_HOME", QByteArray::fromStdString(folder / "data"));
    // It waits until it is let go, and then fails.
    const std::string tool = folder.writeScript(
        "pluginkit", "while [ ! -e '" + (folder / "go") +
                         "' ]; do sleep 0.01; done\necho 'no <b>way' >&2\nexit 1\n");
    const ReplacedTools tools({tool, tool, tool, tool});
    PeekmendApp program;
    QPointer<MainWindow> window = &program.openWindow();
    window->content().extensionsView().model().changeState({"a.a", unmarked, {}, {}}, "use");
    program.services().copyText("a\u202Eb");
    EXPECT_EQ(QApplication::clipboard()->text(), QString("a\u202Eb")) << "as it is";
    program.quit();
    ASSERT_TRUE(eventually([&] {
        QApplication::processEvents();
        QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return !window;
    }));
    EXPECT_FALSE(program.services().repairs->isIdle());
    static_cast<void>(folder.write("go", ""));
    Alert* notice = nullptr;
    ASSERT_TRUE(eventually([&] {
        QApplication::processEvents();
        for (QWidget* const widget : QApplication::topLevelWidgets()) {
            if (auto* const alert = dynamic_cast<Alert*>(widget);
                alert != nullptr && textsOf(*alert).last().startsWith("Couldn't update")) {
                notice = alert;
            }
        }
        return notice != nullptr;
    }));
    EXPECT_EQ(textsOf(*notice).last(), "Couldn't update a.a: no <b>way\n");
    QMetaObject::invokeMethod(notice, &QDialog::reject, Qt::QueuedConnection);
    EXPECT_EQ(QApplication::exec(), 0) << "the program ends by itself";
}

} // namespace
} // namespace peekmend::test
