#pragma once

#include "inventory/PlugInKitInventory.h"

#include <QAbstractScrollArea>

#include <functional>
#include <string_view>
#include <vector>

namespace peekmend {

class ExtensionRow;

/// All registered extensions, one in a row with its buttons. Only the rows in sight exist, as real
/// widgets that are used again when the list is scrolled: so thousands of records weigh no more
/// than a few, and every button can be reached by all means.
///
/// With the keyboard, Tab goes through the buttons of one row and then on; the arrow keys, Page Up,
/// Page Down, Home and End move to other rows.
class ExtensionList : public QAbstractScrollArea {
    Q_OBJECT

public:
    ExtensionList();

    /// Shows the records in place of the earlier ones, by position.
    void setRecords(const std::vector<QLExtensionRecord>& records);

    /// A button of a row was pressed. `record` is what the row shows.
    std::function<void(const QLExtensionRecord& record, std::string_view election)> onElect;

public slots: // NOLINT(readability-redundant-access-specifiers): the toolkit's own word
    /// Copies what the current row says.
    void copy();

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;
    bool eventFilter(QObject* object, QEvent* event) override;
    void changeEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;

private:
    [[nodiscard]] int rowAt(int y) const;
    [[nodiscard]] ExtensionRow* rowShowing(int index) const;
    void addRow();
    void placeRows();
    void measureRows();
    void setCurrent(int index);
    void bringIntoSight(int index);
    /// Scrolls there and moves the focus to that row's button, or the next one that is enabled.
    void moveTo(int index, int button);
    bool handleKey(const QKeyEvent& event, int button);

    std::vector<QLExtensionRecord> m_records;
    /// The record of index i is shown by row i modulo their number, so that a row keeps its record
    /// for as long as it is in sight.
    std::vector<ExtensionRow*> m_rows;
    int m_rowHeight = 1;
    /// The row whose buttons Tab reaches.
    int m_current = 0;
};

} // namespace peekmend
