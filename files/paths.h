// Paths as the system stores them: relative to a base folder where possible, so that a whole folder
// tree can be moved. Characters are compared after turning "\" into "/", and without regard to the
// case of the ASCII letters. Results of the conversions use "/".
//
// A base or root that is not given (std::nullopt) is the program folder for a base, and no root.
// Pure functions but for the warnings; any thread.
#pragma once

#include <optional>

#include "services/core/kor_text.h"
#include "services/core/path_text.h" // IWYU pragma: export

namespace kor {

using OptionalPath = std::optional<std::u16string_view>;

// Returns the difference of the first pair of characters that differs, -1 when a ends first or is
// absent, and 1 when b does or is. Two absent paths are equal.
int ComparePaths(OptionalPath a, OptionalPath b);

// Returns "C:" for a drive path, "//server" for a network path, and an empty text for any other.
KorText GetPathRoot(std::u16string_view path);

// Returns whether the path is in the long-path notation, which must not be stored. The debug
// warning says so.
enum class NotationWarning { None, Raise };
bool IsUnicodeNotationPath(std::u16string_view path, NotationWarning warning);

// Returns "." for the base itself, "./..." below it, and "../..." beside it when climbing is
// allowed and both have the same root (compared without regard to case). A path that fits none of
// these comes back as it was given. A path below the root folder is cut to the part below it,
// unless a base was given too and the part still names a folder.
enum class Climbing { Forbidden, Allowed };
KorText AbsToRelPath(const KorText& path, OptionalPath base = std::nullopt,
                     OptionalPath root = std::nullopt, Climbing climbing = Climbing::Forbidden);

// Undoes AbsToRelPath. A path that begins with one "/" is joined to GetPathRoot of the base; other
// paths that don't begin with "." come back with separators changed. The root folder has no effect:
// a path that AbsToRelPath cut to the part below it does not tell, and comes back as it is.
KorText RelToAbsPath(const KorText& path, OptionalPath base = std::nullopt,
                     OptionalPath root = std::nullopt);

// Replaces each of / \ + ? * | < > : " by "_".
KorText MakeValidFileName(const KorText& name);
// Does the same and also removes dots at the end. A message tells the user of a change unless
// quiet.
enum class NameNotice { Quiet, Show };
KorText MakeValidFileName(const KorText& name, NameNotice notice);

// Replaces the last "." of the path's file name and what follows it; a name without one gets the
// extension appended.
KorText ReplaceExtension(const KorText& path, const KorText& extension);

} // namespace kor
