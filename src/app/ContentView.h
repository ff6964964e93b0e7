#pragma once

#include "app/model/Services.h"

#include <QTabWidget>

namespace peekmend {

class ExtensionsView;
class RepairView;

/// The three tabs of a window.
class ContentView : public QTabWidget {
public:
    explicit ContentView(const Services& services);

    [[nodiscard]] RepairView& repairView() { return *m_repairView; }

    [[nodiscard]] ExtensionsView& extensionsView() { return *m_extensionsView; }

private:
    RepairView* m_repairView;
    ExtensionsView* m_extensionsView;
};

} // namespace peekmend
