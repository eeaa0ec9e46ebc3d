// Runs a program's tests once the toolkit stands.
#include <gtest/gtest.h>

#include <wx/app.h>

namespace {

class TestProgram : public wxApp {
 public:
  bool OnInit() override { return true; }
  int OnRun() override {
    SetExitOnFrameDelete(false);
    return RUN_ALL_TESTS();
  }
};

} // namespace

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  wxApp::SetInstance(new TestProgram);
  return wxEntry(argc, argv);
}
