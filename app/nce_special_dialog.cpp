// The special-features dialog.
#include "app/nce_app.h"

#include <algorithm>

#include "services/core/text_lookup.h"

namespace kor {

namespace {

struct FeatureField {
  int number;
  const char16_t* key;
  UserText label;
  std::int32_t SpecialFeatures::*member;
  bool ofAutoload = false; // framed as "Autoload Options"
};
constexpr FeatureField kFeatureFields[] = {
    {503, u"autoload", kTexts.autoloadSequential, &SpecialFeatures::autoloadSequential, true},
    {505, u"hybrid", kTexts.hybridNumber, &SpecialFeatures::hybridNumber, true},
    {504, u"strip-pc", kTexts.stripPcZeros, &SpecialFeatures::stripPcZeros},
    {506, u"strip-nce", kTexts.stripNceZeros, &SpecialFeatures::stripNceZeros},
};

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
  RunOnWorker([this, changed] { protocol.SetFeatures(changed); });
}

FormDescription NCEApp::SpecialForm() const {
  FormDescription form;
  form.caption = LookUpText(kTexts.specialFeaturesCaption);
  form.name = u"Download Special Dialog";
  form.note = LookUpText(kTexts.hybridNote);
  for (const FeatureField& feature : kFeatureFields) {
    FormField field{feature.number,
                    feature.key,
                    LookUpText(feature.label),
                    FieldKind::Check,
                    windowFeatures.*feature.member != 0 ? u"1" : u"0",
                    {}};
    if (feature.ofAutoload) {
      field.groupNumber = kTexts.autoloadOptions.number;
      field.group = LookUpText(kTexts.autoloadOptions);
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
  if (Window().RunForm(form)) AcceptSpecialForm(form);
}

} // namespace kor
