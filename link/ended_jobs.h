// The file of the ended jobs beside the settings: one line for each job, also for equal ones and
// while no job log is written, so that the jobs of the day are known again after a restart. What
// the lines hold is in docs/formats/ended-jobs.md. Any thread, one at a time; several programs may
// share one file.
#pragma once

#include <vector>

#include "ui/form_dialog.h"

namespace kor {

// In bytes. A file that would grow longer loses the older half of its lines.
inline constexpr std::uint64_t kMostEndedJobs = 512 << 10;

// Adds the job with the number after the last one's; makes the folder when it is missing. A file
// of another version is begun anew. Waits less than a second for a program that holds the
// file. False when it could not be written.
bool AddEndedJob(const KorText& path, const EndedJob& job);
// Returns the jobs of the given local days, day by day in the order of the file. Lines that hold no
// job are passed over; the result is empty when the file can't be read or is of another version.
std::vector<EndedJob> ReadEndedJobs(const KorText& path, const std::vector<SystemTime>& days);

} // namespace kor
