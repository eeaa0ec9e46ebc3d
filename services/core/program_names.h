// The names of the program's own files and folders, as main hands them to the platform.
#pragma once

namespace kor {

struct ProgramNames {
  // The folder below the user's and the shared ones; a blank and the version follow.
  const char16_t* suite;
  const char16_t* package;    // folder below those of the system
  const char16_t* dataFolder; // environment variable: replaces the data folder
  const char16_t* paths;      // makes the working folder the start-in folder
  const char16_t* dictionary; // beside the program
  const char16_t* registry;   // in the settings folder, where the system has no registry
  const char16_t* ports;      // folder in the settings folder: links that name serial devices
};

inline constexpr ProgramNames kProgramNames = {
    .suite = u"Velmora/Plenova",
    .package = u"ncedl",
    .dataFolder = u"NCEDL_DATA_DIR",
    .paths = u"KOR.INI",
    .dictionary = u"diction.ary",
    .registry = u"registry.ini",
    .ports = u"ports",
};

} // namespace kor
