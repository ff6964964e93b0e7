#include "platform/qtcore/StandardUserDefaults.h"

#include <QByteArray>
#include <QFile>
#include <QMetaType>
#include <QSettings>
#include <QStandardPaths>
#include <QVariant>

namespace peekmend {

namespace {

QString keyText(const std::string& key) {
    return QString::fromStdString(key);
}

} // namespace

StandardUserDefaults::StandardUserDefaults(std::string file) : m_file(std::move(file)) {}

StandardUserDefaults::StandardUserDefaults()
    : StandardUserDefaults(
          QFile::encodeName(QStandardPaths::writableLocation(QStandardPaths::ConfigLocation))
              .toStdString() +
          "/" + applicationIdentifier + ".ini") {}

// Each call opens the file anew: another instance of the program may have changed it, and what is
// set must be on disk when the call returns.

std::optional<std::string> StandardUserDefaults::dataForKey(const std::string& key) const {
    const std::scoped_lock lock(m_mutex);
    const QSettings settings(QFile::decodeName(m_file.c_str()), QSettings::IniFormat);
    const QVariant value = settings.value(keyText(key));
    if (value.typeId() != QMetaType::QByteArray) {
        return std::nullopt;
    }
    return value.toByteArray().toStdString();
}

void StandardUserDefaults::setDataForKey(const std::string& key, const std::string& data) {
    const std::scoped_lock lock(m_mutex);
    QSettings settings(QFile::decodeName(m_file.c_str()), QSettings::IniFormat);
    settings.setValue(keyText(key), QByteArray::fromStdString(data));
    settings.sync();
}

void StandardUserDefaults::removeObjectForKey(const std::string& key) {
    const std::scoped_lock lock(m_mutex);
    QSettings settings(QFile::decodeName(m_file.c_str()), QSettings::IniFormat);
    settings.remove(keyText(key));
    settings.sync();
}

} // namespace peekmend
