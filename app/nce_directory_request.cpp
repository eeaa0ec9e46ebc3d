// The controller asks for the list of programs and pages through it.
#include "app/nce_protocol.h"

#include "app/nce_directory.h"
#include "services/core/app_interface.h"

namespace kor {

void NceProtocol::OnDirectoryRequest() {
  exchange.MakeWay();
  EnterStatus(LinkStatus::DirectoryListing);
  Reply(u"Directory of Host Computer\nSelect File. &DH");
  waiting = Waiting::Listing;
}

void NceProtocol::ListDirectory() {
  auto list = ListNcFiles(App().Files(), exchange.Settings().downloadPath,
                          exchange.Settings().fileExtension);
  if (!list) {
    EnterStatus(LinkStatus::DirectoryError);
  }
  directoryList = std::move(list).value_or(std::vector<KorText>());
  directoryRemaining = directoryList.size();
}

void NceProtocol::SendDirectoryPage() {
  std::size_t at = directoryList.size() - directoryRemaining;
  Reply(DirectoryPage(directoryList, at));
  directoryRemaining = directoryList.size() - at;
}

} // namespace kor
