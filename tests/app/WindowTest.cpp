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
#include <QContextMenuEvent>
#include <QDropEvent>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QPushButton>
#include <QScrollBar>

#include <stdexcept>

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

QLExtensionRecord record(std::string bundleID, QLRegistrationState state = unmarked) {
    return {std::move(bundleID), state, "1.0", "/Applications/A.app/P.appex"};
}

void sendKey(QWidget* widget, int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    for (const auto type : {QEvent::KeyPress, QEvent::KeyRelease}) {
        QKeyEvent event(type, key, modifiers);
        QApplication::sendEvent(widget, &event);
    }
}

std::vector<QLExtensionRecord> manyRecords(int count) {
    std::vector<QLExtensionRecord> records;
    for (int i = 0; i < count; ++i) {
        records.push_back(record("org.e" + std::to_string(i)));
    }
    return records;
}

QString focusedName() {
    return QApplication::focusWidget()->accessibleName();
}

QStringList textsOf(const QWidget& widget) {
    QStringList texts;
    for (const TextBlock* const block : widget.findChildren<TextBlock*>()) {
        texts += block->toPlainText();
    }
    return texts;
}

/// An open window whose surroundings the test plays.
class Window : public testing::Test, public World {
protected:
    void SetUp() override {
        window->show();
        window->activateWindow();
        ASSERT_TRUE(eventually([this] {
            QApplication::processEvents();
            return window->isActiveWindow();
        }));
    }

    void TearDown() override { delete window; }

    /// Shows the diagnosis of a file.
    void diagnose(const QLDiagnosisReport& result, const std::string& path = "/a.txt") {
        report = result;
        model().chooseFile(FileURL(path));
        settle();
        QApplication::processEvents();
    }

    /// Shows the diagnosis of a file that these claim.
    void diagnose(const std::vector<QLExtensionRecord>& claimants) {
        diagnose(claimedBy(claimants));
    }

    /// Shows these in the extensions tab.
    void list(std::vector<QLExtensionRecord> records) {
        report.records = std::move(records);
        window->content().setCurrentIndex(1);
        extensions().reload();
        settle();
        QApplication::processEvents();
    }

    [[nodiscard]] RepairViewModel& model() const { return window->content().repairView().model(); }

    [[nodiscard]] ExtensionsViewModel& extensions() const {
        return window->content().extensionsView().model();
    }

    [[nodiscard]] ClaimantTable& table() const { return inside<ClaimantTable>(*window); }

    [[nodiscard]] ExtensionList& rows() const { return inside<ExtensionList>(*window); }

    /// The buttons in sight with this text, or else this accessible name.
    [[nodiscard]] QList<QPushButton*> buttons(const QString& text) const {
        QList<QPushButton*> found = window->findChildren<QPushButton*>();
        found.removeIf([&](const QPushButton* button) {
            return !button->isVisible() ||
                   (button->text().remove('&') != text && button->accessibleName() != text);
        });
        return found;
    }

    [[nodiscard]] QPushButton& button(const QString& text) const {
        const QList<QPushButton*> found = buttons(text);
        return found.isEmpty() ? throw std::runtime_error("no button " + text.toStdString())
                               : *found.front();
    }

    /// The enabled ones among the buttons under the report.
    [[nodiscard]] QStringList enabledButtons() const {
        QStringList enabled = barTexts;
        enabled.removeIf([this](const QString& text) { return !button(text).isEnabled(); });
        return enabled;
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

    const QStringList barTexts{"Prefer this handler\u2026", "Undo last repair", "Refresh",
                               "Open System Settings\u2026", "Copy report"};
    MainWindow* window = new MainWindow(services(), {});
};

class ExtensionsTab : public Window {};

TEST_F(Window, OpensOnRepairAndNoSmallerThanItMayBe) {
    EXPECT_EQ(window->size(), QSize(760, 560));
    EXPECT_EQ(window->content().currentIndex(), 0);
    EXPECT_EQ(window->minimumSize(), QSize(640, 520));
    QStringList tabs;
    for (int i = 0; i < window->content().count(); ++i) {
        tabs += window->content().tabText(i);
    }
    EXPECT_EQ(tabs, QStringList({"Repair", "Extensions", "Help"}));
}

TEST_F(Window, NeedsNoMoreRoomForAnyReportAndMoreOnlyForALargeFont) {
    auto large = claimedBy(std::vector(30, record("org." + std::string(3000, 'x'))));
    large.claimants.front().allClaimedUTIs = Strings(200, "org.type");
    large.verdict = composeVerdict(large.claimants, {});
    window->resize(640, 520);
    diagnose(large, "/" + std::string(4000, 'p'));
    EXPECT_EQ(window->size(), QSize(640, 520));
    EXPECT_EQ(window->minimumSize(), QSize(640, 520));

    const QFont before = QApplication::font();
    QFont font = before;
    font.setPointSizeF(before.pointSizeF() * 1.5);
    QApplication::setFont(font);
    // Nothing beneath the report is cut off or lies over another thing.
    EXPECT_TRUE(eventually([&] {
        QApplication::processEvents();
        int right = 0;
        for (const QString& text : barTexts) {
            const QPushButton& next = button(text);
            const int left = next.mapTo(window, QPoint()).x();
            if (left <= right || next.width() < next.minimumSizeHint().width()) {
                return false;
            }
            right = left + next.width();
        }
        return right < window->width();
    }));
    QApplication::setFont(before);
}

TEST_F(Window, EnablesWhatTheStateAllows) {
    const QString prefer = "Prefer this handler\u2026";
    const QString undo = "Undo last repair";
    const QString settings = "Open System Settings\u2026";
    const QString copy = "Copy report";
    EXPECT_EQ(enabledButtons(), QStringList({"Refresh", settings}));
    report = claimedBy({record("a.a"), record("b.b", ignored)});
    model().chooseFile(FileURL("/a"));
    EXPECT_EQ(enabledButtons(), QStringList({settings}));
    settle();
    EXPECT_EQ(enabledButtons(), QStringList({"Refresh", settings, copy}));
    table().selectRow(1);
    EXPECT_EQ(enabledButtons(), QStringList({prefer, "Refresh", settings, copy}));
    model().confirmPrefer(report.records.back());
    settle();
    EXPECT_EQ(enabledButtons(), QStringList({prefer, undo, "Refresh", settings, copy}));
    diagnose({record("a.a")});
    EXPECT_EQ(enabledButtons(), QStringList({undo, "Refresh", settings, copy}));
}

TEST_F(Window, ShowsTextFromOutsideAsItIs) {
    const std::string name = "org.<b>x</b><img src=\"/etc/passwd\">&amp;";
    const QString shownName = displayText(name);
    report = claimedBy({record(name), record("org.b")});
    report.verdict = composeVerdict(report.claimants, {});
    report.fetchError = name;
    diagnose(report, "/" + name);
    const QStringList texts = textsOf(*window);
    EXPECT_TRUE(texts.contains("Couldn't read the Quick Look extension inventory: " + shownName));
    EXPECT_TRUE(texts.contains(displayText(report.verdict)));
    EXPECT_EQ(table().model()->index(0, 1).data(), shownName);
    for (const QLabel* const label : window->findChildren<QLabel*>()) {
        EXPECT_EQ(label->textFormat(), label->pixmap().isNull() ? Qt::PlainText : Qt::AutoText);
    }
    const QString toolTip = table().model()->index(0, 1).data(Qt::ToolTipRole).toString();
    EXPECT_FALSE(toolTip.contains("<img")) << "a tool tip is markup whose text is escaped";
    EXPECT_TRUE(toolTip.contains(shownName.left(8).toHtmlEscaped()));

    model().select(name);
    model().openPreferSheet();
    ASSERT_NE(dialog(), nullptr);
    EXPECT_EQ(textsOf(*dialog()).front(), "Prefer " + shownName + "?");
    model().cancelPrefer();
    report.fetchError.reset();
    list({{name, unmarked, {}, {}}});
    button("Ignore " + shownName).click();
    ASSERT_NE(dialog(), nullptr);
    EXPECT_EQ(textsOf(*dialog()), QStringList({"Ignore " + shownName + "?",
                                               "Quick Look previews will no longer use " +
                                                   shownName + " for any file type it supports."}));
    // What would turn our own sentences around is not let through.
    EXPECT_EQ(displayText("a\u202Eb"), QString("a\uFFFDb"));
    EXPECT_EQ(singleLine("a\n\u2028\u0085b"), QString("a\u240A\u2424\u2424b"));
}

TEST_F(Window, ShortensTextThatWouldHoldItUp) {
    std::string text(4000, 'x');
    EXPECT_EQ(displayText(text).toStdString(), text);
    text += text;
    for (const std::string_view character : {"\u00fc", "\u4e2d", "\U0001f600"}) {
        // Wherever the cuts are, they are between two characters.
        for (std::size_t first = 2997; first <= 3000; ++first) {
            text.replace(first, character.size(), character);
            text.replace(first + 4000, character.size(), character);
            const QString shown = displayText(text);
            EXPECT_TRUE(shown.size() < 4010 && shown.contains(" \u2026 "));
            EXPECT_FALSE(shown.contains(QChar::ReplacementCharacter));
            text = std::string(8000, 'x');
        }
    }
    report.fetchError = std::string(1'000'000, '\x80');
    diagnose(report);
    EXPECT_LT(textsOf(*window).join("").size(), 5000);
}

TEST_F(Window, AsksBeforeItPrefers) {
    std::vector<QLExtensionRecord> claimants = manyRecords(100);
    claimants.insert(claimants.begin(), record("com.panic.Nova.NovaQuickLookPreview"));
    diagnose(claimants);
    table().selectRow(1);
    for (const auto& [key, commandCount] :
         {std::pair(Qt::Key_Escape, 0U), {Qt::Key_Return, 102U}}) {
        button("Prefer this handler\u2026").click();
        QDialog* const sheet = dialog();
        ASSERT_NE(sheet, nullptr);
        EXPECT_EQ(sheet->windowModality(), Qt::WindowModal);
        EXPECT_TRUE(sheet->width() >= 420 && sheet->width() <= 520);
        const QStringList texts = textsOf(*sheet);
        EXPECT_EQ(texts.at(0), "Prefer org.e0?");
        EXPECT_TRUE(texts.at(2).startsWith("com.panic.Nova.NovaQuickLookPreview\nNova's"));
        EXPECT_TRUE(texts.at(2).endsWith("org.e99"));
        for (const TextBlock* const block : sheet->findChildren<TextBlock*>()) {
            EXPECT_TRUE(eventually([&] {
                QApplication::processEvents();
                return block->height() == block->heightForWidth(block->width());
            })) << "the layout settles";
            EXPECT_LE(block->height(), 220);
            EXPECT_TRUE(sheet->rect().contains(block->geometry()));
        }
        for (const QPushButton* const button : sheet->findChildren<QPushButton*>()) {
            EXPECT_TRUE(sheet->rect().contains(button->geometry()));
            EXPECT_EQ(button->isDefault(), button->text() == "Confirm");
        }
        sendKey(sheet->focusWidget(), key);
        settle();
        EXPECT_EQ(dialog(), nullptr);
        EXPECT_EQ(commands.size(), commandCount);
    }
}

TEST_F(Window, KeepsTheSheetClosableWhenItsClaimantIsGone) {
    diagnose({record("a.a"), record("b.b")});
    table().selectRow(0);
    button("Prefer this handler\u2026").click();
    diagnose({record("b.b")});
    ASSERT_NE(dialog(), nullptr);
    EXPECT_EQ(textsOf(*dialog()), QStringList());
    sendKey(dialog(), Qt::Key_Escape);
    EXPECT_EQ(dialog(), nullptr);
    EXPECT_FALSE(model().state().showPreferSheet);
}

TEST_F(Window, ShowsOneAlertAsLongAsThereIsAMessage) {
    failing = {"use a.a", "use b.b"};
    diagnose({record("a.a"), record("b.b")});
    const auto fail = [&](const std::string& bundleID) {
        model().confirmPrefer(record(bundleID));
        settle();
    };
    fail("a.a");
    QDialog* const alert = dialog();
    ASSERT_NE(alert, nullptr);
    EXPECT_EQ(textsOf(*alert), QStringList({"Peekmend", "Couldn't apply repair: no\n"}));
    fail("b.b");
    EXPECT_EQ(dialog(), alert) << "a new message uses the open alert";
    sendKey(alert, Qt::Key_Escape);
    EXPECT_EQ(dialog(), nullptr);
    EXPECT_EQ(model().state().errorMessage, std::nullopt);
    fail("a.a");
    EXPECT_NE(dialog(), nullptr);
    model().refresh();
    EXPECT_EQ(dialog(), nullptr) << "a new diagnosis takes the message away";
    settle();
}

TEST_F(Window, TakesTheFirstOfThreeDroppedFiles) {
    QMimeData data;
    data.setData("text/uri-list", "# three\r\nfile:///a%FF.txt\r\nfile:///b\r\nfile:///c\r\n");
    auto& zone = inside<DropZone>(*window);
    QDragEnterEvent enter({1, 1}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&zone, &enter);
    EXPECT_TRUE(enter.isAccepted());
    EXPECT_TRUE(model().state().isDropTargeted);
    QDropEvent drop({1, 1}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&zone, &drop);
    EXPECT_TRUE(drop.isAccepted());
    EXPECT_FALSE(model().state().isDropTargeted);
    settle();
    EXPECT_EQ(diagnosed, std::vector<std::string>{"/a\xFF.txt"});

    // With Shift held, file managers allow a move only. Who hears that it was done may delete.
    QDragEnterEvent enterToMove({1, 1}, Qt::MoveAction, &data, Qt::LeftButton, Qt::ShiftModifier);
    QApplication::sendEvent(&zone, &enterToMove);
    QDragMoveEvent changedToMove({1, 1}, Qt::MoveAction, &data, Qt::LeftButton, Qt::ShiftModifier);
    changedToMove.ignore();
    QApplication::sendEvent(&zone, &changedToMove);
    EXPECT_TRUE(changedToMove.isAccepted());
    QDropEvent dropToMove({1, 1}, Qt::MoveAction, &data, Qt::LeftButton, Qt::ShiftModifier);
    QApplication::sendEvent(&zone, &dropToMove);
    EXPECT_FALSE(dropToMove.isAccepted());
    settle();
    EXPECT_EQ(diagnosed.size(), 2U);

    QMimeData text;
    text.setText("file:///not/a/file/but/a/text");
    QDragEnterEvent other({1, 1}, Qt::CopyAction, &text, Qt::LeftButton, Qt::NoModifier);
    other.ignore();
    QApplication::sendEvent(&zone, &other);
    EXPECT_FALSE(other.isAccepted());
    EXPECT_FALSE(model().state().isDropTargeted);
}

TEST_F(Window, IsGoneThroughFromTheFileToTheReportToTheButtons) {
    QLDiagnosisReport result = claimedBy({record("a.a")});
    result.verdict = "The verdict.";
    diagnose(result);
    button("Choose File\u2026").setFocus();
    const auto nextName = [] {
        sendKey(QApplication::focusWidget(), Qt::Key_Tab);
        return focusedName();
    };
    EXPECT_EQ(nextName(), "The verdict.");
    EXPECT_EQ(nextName(), table().accessibleName());
    sendKey(QApplication::focusWidget(), Qt::Key_Tab);
    EXPECT_TRUE(button("Refresh").hasFocus());
}

TEST_F(Window, MovesThroughRowsOfOneIdentityWithTheKeyboard) {
    diagnose({record("a.a"), record("a.a"), record("b.b")});
    const auto selectedRow = [&] { return table().selectionModel()->selectedRows().front().row(); };
    table().setFocus();
    // The second of the two makes the first the selected claimant, but is no dead end.
    for (const int row : {0, 0, 2}) {
        sendKey(&table(), Qt::Key_Down);
        EXPECT_EQ(selectedRow(), row);
    }
    // A new report with another row in front keeps the claimant, not the row.
    diagnose({record("c.c"), record("b.b")});
    EXPECT_EQ(model().state().selectedClaimantID, std::nullopt) << "another file";
    model().select("b.b");
    EXPECT_EQ(selectedRow(), 1);
    sendKey(&table(), Qt::Key_C, Qt::ControlModifier);
    window->menuBar()->actions().at(2)->menu()->actions().front()->trigger();
    EXPECT_EQ(QApplication::clipboard()->text(), "unmarked\tb.b\t1.0\t\u2014");
}

TEST_F(Window, CopiesByContextMenuAndKeyWhatIsNoSelectableText) {
    const auto copiedByMenu = [](QWidget& widget, const QPoint& position) {
        QContextMenuEvent event(QContextMenuEvent::Mouse, position, widget.mapToGlobal(position));
        QApplication::sendEvent(&widget, &event);
        QStringList texts;
        auto* const menu = dynamic_cast<QMenu*>(QApplication::activePopupWidget());
        for (QAction* const action : menu == nullptr ? QList<QAction*>() : menu->actions()) {
            action->trigger();
            texts += QApplication::clipboard()->text();
        }
        delete menu;
        return texts;
    };
    list({record("b.b"), {"c.c", ignored, {}, {}}});
    const QString second = "ignored\tc.c\t\t";
    QPushButton& use = button("Use c.c");
    use.setFocus();
    window->menuBar()->actions().at(2)->menu()->actions().front()->trigger();
    EXPECT_EQ(QApplication::clipboard()->text(), second);
    EXPECT_EQ(copiedByMenu(*use.parentWidget(), {}), QStringList(second)) << "it has no path";
    EXPECT_EQ(copiedByMenu(inside<ElidedLabel>(*button("Use b.b").parentWidget()), {}).size(), 2);

    // Two of one identity, of which a press on either selects the first.
    diagnose({record("a.a", enabled), {"a.a", unmarked, "2.0", "/B.appex"}});
    QWidget& cells = *table().viewport();
    EXPECT_EQ(copiedByMenu(inside<ElidedLabel>(*window), {}), QStringList("a.txt"));
    EXPECT_EQ(copiedByMenu(cells, cells.rect().bottomLeft()), QStringList()) << "below the rows";
    EXPECT_EQ(copiedByMenu(cells, {}),
              QStringList({"enabled\ta.a\t1.0\t\u2014", "/Applications/A.app/P.appex"}));
    EXPECT_EQ(copiedByMenu(cells, {1, table().rowViewportPosition(1)}).back(), "/B.appex");
}

TEST_F(Window, ShowsByThePointerThatItWorks) {
    RepairView& view = window->content().repairView();
    const auto isBusy = [&] { return view.cursor().shape() == Qt::BusyCursor; };
    report = claimedBy({record("a.a")});
    model().chooseFile(FileURL("/a.txt"));
    EXPECT_TRUE(isBusy()) << "diagnosing";
    settle();
    EXPECT_FALSE(isBusy());
    model().confirmPrefer(record("a.a"));
    settle();
    // The second finds nothing left to undo, and never runs.
    model().undoLastRepair();
    model().undoLastRepair();
    EXPECT_TRUE(isBusy()) << "repairing";
    settle();
    EXPECT_FALSE(isBusy());
}

TEST_F(Window, FollowsTheThemeWhileItIsOpen) {
    diagnose({record("a.a")});
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
    for (const QWidget* const child : window->findChildren<QWidget*>()) {
        if (dynamic_cast<const Label*>(child) != nullptr ||
            dynamic_cast<const TextBlock*>(child) != nullptr) {
            EXPECT_GT(child->palette().color(QPalette::Text).lightness(), 127);
        }
    }
    QApplication::setPalette(before);
}

TEST_F(Window, SaysItsStatesAndButtonsInWords) {
    diagnose({record("a.a", enabled), record("b.b", ignored), record("c.c")});
    const auto name = [](QObject* object) {
        return QAccessible::queryAccessibleInterface(object)->text(QAccessible::Name);
    };
    for (const auto& [row, word] : {std::pair(0, "enabled"), {1, "ignored"}, {2, "unmarked"}}) {
        EXPECT_EQ(table().model()->index(row, 0).data(Qt::AccessibleTextRole), word);
    }
    list({{"a.a", enabled, "1.0", "/A"}, {"a.a", ignored, "1.0", "/B"}});
    for (QPushButton* const button : window->findChildren<QPushButton*>()) {
        const QString text = button->text().remove('&');
        EXPECT_TRUE(name(button).startsWith(text)) << text.toStdString();
    }
    QStringList names;
    for (QWidget* const row :
         rows().viewport()->findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
        if (row->isVisible()) {
            names += name(row);
        }
    }
    EXPECT_EQ(names, QStringList({"a.a, enabled", "a.a, ignored"}));
}

TEST_F(ExtensionsTab, LoadsEachTimeItAppears) {
    report = claimedBy({record("a.a")});
    for (const std::size_t loads : {1U, 2U}) {
        window->content().setCurrentIndex(1);
        EXPECT_FALSE(button("Refresh").isEnabled());
        settle();
        EXPECT_EQ(diagnosed.size(), loads);
        window->content().setCurrentIndex(2);
    }
}

TEST_F(ExtensionsTab, ActsOnTheRecordThatARowShows) {
    list({{"a.a", unmarked, "1", "/first"}, {"a.a", ignored, "2", "/second"}});
    ASSERT_EQ(buttons("Use a.a").size(), 2);
    buttons("Use a.a").back()->click();
    settle();
    EXPECT_EQ(states(extensions().state().undoSnapshot), (States{{"a.a", ignored}}));
}

TEST_F(ExtensionsTab, HoldsThousandsInAFewRowsThatTheKeyboardMovesThrough) {
    list(manyRecords(2000));
    EXPECT_LT(window->findChildren<QPushButton*>().size(), 120);
    button("Use org.e0").setFocus();
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
    EXPECT_FALSE(rows().isAncestorOf(QApplication::focusWidget()));
}

TEST_F(ExtensionsTab, NeverLeavesTheFocusOnAnotherRecord) {
    list(manyRecords(2000));
    button("Use org.e0").setFocus();
    for (int position = 0; position < 4000; position += 7) {
        rows().verticalScrollBar()->setValue(position);
        ASSERT_TRUE(rows().hasFocus() || focusedName() == "Use org.e0");
    }
    EXPECT_TRUE(rows().hasFocus());
    sendKey(&rows(), Qt::Key_Space);
    sendKey(&rows(), Qt::Key_Down);
    EXPECT_TRUE(focusedName().startsWith("Use org.e"));
    EXPECT_TRUE(commands.empty());

    // A press that began on one record is no click on the one that a reload has put there.
    rows().verticalScrollBar()->setValue(0);
    QPushButton& pressed = button("Use org.e1");
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
        settle();
        return commands;
    };
    auto records = manyRecords(2000);
    records.erase(records.begin());
    EXPECT_EQ(clickOver([&] { list(records); }), Strings());
    EXPECT_EQ(clickOver([] {}), Strings({"use org.e2", "restart"}));
}

TEST_F(ExtensionsTab, KeepsFocusAndPlaceOverAReload) {
    auto records = manyRecords(500);
    list(records);
    rows().verticalScrollBar()->setValue(1000);
    const int index = (1000 / button("Use org.e30").parentWidget()->height()) + 2;
    button(QString("Use org.e%1").arg(index)).setFocus();
    // The focused button becomes one that changes nothing.
    records.at(static_cast<std::size_t>(index)).state = enabled;
    list(records);
    EXPECT_EQ(rows().verticalScrollBar()->value(), 1000);
    // It keeps the focus, so that a second press of the key does nothing else.
    EXPECT_EQ(focusedName(), QString("Use org.e%1").arg(index));
    sendKey(QApplication::focusWidget(), Qt::Key_Space);
    sendKey(QApplication::focusWidget(), Qt::Key_Tab);
    EXPECT_EQ(focusedName(), QString("Default org.e%1").arg(index));
    button("Refresh").setFocus();
    for (int presses = 0; presses < 2; ++presses) {
        sendKey(QApplication::focusWidget(), Qt::Key_Space);
        EXPECT_TRUE(button("Refresh").hasFocus() && !button("Refresh").isEnabled());
    }
    settle();
    EXPECT_TRUE(button("Refresh").hasFocus() && button("Refresh").isEnabled());
    EXPECT_TRUE(commands.empty());
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
                alert != nullptr && alert->isVisible() &&
                textsOf(*alert).last().startsWith("Couldn't update")) {
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
