// The special-features dialog.
#include "app/nce_app.h"

#include <algorithm>

#include "services/core/text_lookup.h"

namespace kor {

namespace {

struct FeatureField {
  int number;
  const char16_t* key;
  int text; // dictionary number of the label
  const char16_t* label;
  std::int32_t SpecialFeatures::*member;
  bool ofAutoload = false; // framed as "Autoload Options"
};
constexpr FeatureField kFeatureFields[] = {
    {503, u"autoload", 15303, u"Autoload sequential files", &SpecialFeatures::autoloadSequential,
     true},
    {505, u"hybrid", 15305, u"Use LLLSSES LINDE/NCE hybrid format number",
     &SpecialFeatures::hybridNumber, true},
    {504, u"strip-pc", 15304, u"Strip Leading Zeros From PC Filename",
     &SpecialFeatures::stripPcZeros},
    {506, u"strip-nce", 15306, u"Strip Leading Zeros From NCE Filename",
     &SpecialFeatures::stripNceZeros},
};
constexpr const char16_t* kFeatureNote =
    u"LLLSSES format comprises a three digit lot number (LLL) , a two digit start sheet (SS) and a "
    u"two digit end sheet (ES). e.g. 3730417 loads sheets 37304 to 37317";

// A disabled box keeps its check mark and its value.
void EnableFeatureFields(std::vector<FormField>& fields) {
  const auto find = [&](int number) {
    return std::find_if(fields.begin(), fields.end(),
                        [number](const FormField& field) { return field.number == number; });
  };
  const auto autoload = find(503), hybrid = find(505), stripPc = find(504);
  if (autoload == fields.end() || hybrid == fields.end() || stripPc == fields.end()) return;
  hybrid->enabled = autoload->value == u"1";
  stripPc->enabled = !(autoload->value == u"1" && hybrid->value == u"1");
}

} // namespace

void NCEApp::SetFeatures(const SpecialFeatures& changed) {
  windowFeatures = changed;
  KeepSettings();
  RunOnWorker([this, changed] { workerFeatures = changed; });
}

FormDescription NCEApp::SpecialForm() const {
  FormDescription form;
  form.caption = LookUpText(15300, u"Special Features");
  form.name = u"Download Special Dialog";
  form.note = LookUpText(15308, kFeatureNote);
  for (const FeatureField& feature : kFeatureFields) {
    FormField field{feature.number,
                    feature.key,
                    LookUpText(feature.text, feature.label),
                    FieldKind::Check,
                    windowFeatures.*feature.member != 0 ? u"1" : u"0",
                    {}};
    if (feature.ofAutoload) {
      field.groupNumber = 15307;
      field.group = LookUpText(15307, u"Autoload Options");
    }
    form.fields.push_back(field);
  }
  form.updateEnabled = EnableFeatureFields;
  return form;
}

void NCEApp::AcceptSpecialForm(const FormDescription& form) {
  SpecialFeatures changed = windowFeatures;
  for (const FeatureField& feature : kFeatureFields)
    if (const FormField* field = form.Find(feature.key))
      changed.*feature.member = field->value == u"1" ? 1 : 0;
  SetFeatures(changed);
}

void NCEApp::SpecialDialog() {
  FormDescription form = SpecialForm();
  if (services.window->RunForm(form)) AcceptSpecialForm(form);
}

} // namespace kor
