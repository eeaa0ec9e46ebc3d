// The host's file list as the controller pages through it.
#pragma once

#include <optional>
#include <vector>

#include "services/core/kor_text.h"
#include "services/core/os_files.h"

namespace kor {

// Returns the names of the folder's files that match "*." + extension, sorted by name without
// regard to case. Folders, hidden, system and empty files are left out, and so are names with
// control characters, which would act on the line and can't be asked for. The extension is compared
// as the platform's file search does it. std::nullopt when the folder is missing or can't be read.
std::optional<std::vector<KorText>> ListNcFiles(OsFiles& files, const KorText& folder,
                                                const KorText& extension);

// Returns up to four entries from list[at] on and moves at past them; "]" when none is left. An
// entry is the index (from 1, two columns), "|", the name without its extension in at least eight
// columns, and a blank.
KorText DirectoryPage(const std::vector<KorText>& list, std::size_t& at);

} // namespace kor
