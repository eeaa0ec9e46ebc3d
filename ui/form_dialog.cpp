#include "ui/form_dialog.h"

#include <algorithm>
#include <utility>

namespace kor {

// Counts what was asked for and did not happen; a job that somebody cancelled has not failed.
bool EndedJob::Failed() const {
  return ActivityOf(code) == LinkActivity::Failed;
}

const FormField* FormDescription::Find(std::u16string_view key) const {
  const auto found = std::find_if(fields.begin(), fields.end(), [key](const FormField& field) {
    return field.key.EqualsNoCase(key);
  });
  return found == fields.end() ? nullptr : &*found;
}

FormField* FormDescription::Find(std::u16string_view key) {
  return const_cast<FormField*>(std::as_const(*this).Find(key));
}

} // namespace kor
