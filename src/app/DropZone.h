#pragma once

#include "platform/FileURL.h"

#include <QWidget>

#include <functional>
#include <optional>
#include <vector>

namespace peekmend {

class ActionButton;
class ElidedLabel;

/// Where the file to diagnose is dropped or chosen.
class DropZone : public QWidget {
public:
    DropZone();

    /// Shows the file, and whether a file is being dragged over the zone.
    void render(const std::optional<FileURL>& fileURL, bool isDropTargeted);

    [[nodiscard]] ActionButton& chooseButton() { return *m_choose; }

    /// The button was pressed.
    std::function<void()> onChoose;
    /// A drag that carries files came over the zone or left it.
    std::function<void(bool isTargeted)> onTargeted;
    /// Files were dropped. Returns whether the drop was handled.
    std::function<bool(const std::vector<std::optional<FileURL>>& items)> onDrop;

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    ElidedLabel* m_title;
    ElidedLabel* m_path;
    ActionButton* m_choose;
    bool m_isDropTargeted = false;
};

} // namespace peekmend
