// Reads back what CommsLog wrote into the job log, for a window that shows the jobs of the day again
// after a restart. Any thread.
#pragma once

#include <vector>

#include "ui/form_dialog.h"

namespace kor {

// The jobs of the given local day, oldest first, from the newest MiB of the file; lines that no job log
// has, and those of another date format, are passed over. Nothing when the file can't be read.
std::vector<EndedJob> ReadJobsOfDay(const KorText& file, const SystemTime& day);

} // namespace kor
