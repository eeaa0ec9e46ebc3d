#include "ui/console/banner.h"

#include <algorithm>

#include "services/core/text_lookup.h"
#include "ui/console/column_width.h"

namespace kor {

namespace {

// Returns "9600 baud, 7E1, Xon/Xoff, rts on, dtr off", with the parity's letter and the rest as
// settings shows it.
KorText LineText(const LinkSettings& settings) {
  const KorText on = u"on", off = u"off";
  return KorText::Format(u"%s baud, %s%s%s, %s, rts %s, dtr %s", settings.baudrate,
                         settings.databits, settings.parity.Left(1), settings.stopbits,
                         settings.flowControl, settings.rtsCtsHandshake > 0 ? on : off,
                         settings.dtrDsrHandshake > 0 ? on : off);
}

} // namespace

std::vector<KorText> BannerLines(const KorText& version, const KorText& device,
                                 const LinkSettings& settings) {
  const KorText port = LookUpText(kTexts.portLabel), programs = LookUpText(kTexts.programsLabel),
                uploads = LookUpText(kTexts.uploadsLabel);
  const std::size_t width =
      std::max({ColumnsOf(port), ColumnsOf(programs), ColumnsOf(uploads)}) + 2;
  const auto row = [width](const KorText& label, const KorText& text) {
    return PadColumns(label, width) + text;
  };
  return {u"ncedl-console " + version,
          row(port, device),
          row({}, LineText(settings)),
          row(programs, settings.downloadPath + u"*." + settings.fileExtension),
          row(uploads, settings.uploadPath),
          LookUpText(kTexts.helpHint)};
}

} // namespace kor
