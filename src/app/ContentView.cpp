#include "app/ContentView.h"

#include "app/ExtensionsView.h"
#include "app/HelpView.h"
#include "app/RepairView.h"
#include "app/Style.h"

#include <QShortcut>

namespace peekmend {

ContentView::ContentView(const Services& services)
    : m_repairView(new RepairView(services)), m_extensionsView(new ExtensionsView(services)) {
    setDocumentMode(true);
    addTab(m_repairView, symbol("repair"), "Repair");
    addTab(m_extensionsView, symbol("extensions"), "Extensions");
    const int help = addTab(new HelpView(services.openURL), symbol("help"), "Help");
    connect(new QShortcut(QKeySequence::HelpContents, this), &QShortcut::activated, this,
            [this, help] { setCurrentIndex(help); });
}

} // namespace peekmend
