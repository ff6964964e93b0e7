#pragma once

#include "platform/PropertyList.h"

#include <memory>
#include <string>

namespace peekmend {

/// Reads the XML form, in UTF-8 or UTF-16. Null when the list is damaged. The encoding is told by
/// the first bytes, not by the XML declaration.
[[nodiscard]] std::shared_ptr<const PropertyList::Form> parseXmlPropertyList(std::string bytes);

} // namespace peekmend
