// ncedl-setup: prepares this computer and this user for the download program.
#include "tools/common/tool_main.h"
#include "tools/ncedl_setup/setup.h"

int main(int argc, char** argv) {
  return kor::RunToolMain({.name = u"ncedl-setup",
                           .startFailed = kor::kSetupFailed,
                           .outputFailed = kor::kSetupFailed,
                           .run = kor::RunSetup},
                          argc, argv);
}
