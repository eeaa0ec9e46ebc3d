#include "ui/wx/display_loss.h"

namespace kor {

void CallWhenDisplayIsLost(void (*)()) {}

} // namespace kor
