#pragma once

#include <string>

/// Each adds the benchmarks of one subject. A benchmark is named "GROUP/CONTESTANT".
namespace peekmend::bench {

void addSmallPrograms(const std::string& group);
void addLargeOutput();
void addListings();
void addPropertyLists();
void addDiagnoses();
void addStarts();

} // namespace peekmend::bench
