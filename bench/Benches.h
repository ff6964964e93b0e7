#pragma once

#include <string>

/// Each adds the benchmarks of one subject. A benchmark is named "GROUP/CONTESTANT".
namespace peekmend::bench {

void addSmallPrograms(const std::string& group);
void addLargeOutput();
/// What the capture of a large output takes of memory at its height, in units of the output's size.
/// To be asked in a process that has captured nothing before.
double peakOfLargeOutput();
void addListings();
void addPropertyLists();
void addDiagnoses();
void addStarts();

} // namespace peekmend::bench
