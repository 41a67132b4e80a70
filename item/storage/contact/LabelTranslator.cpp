#include "storage/contact/LabelTranslator.h"

namespace {

LabelTranslator* g_labelTranslator = nullptr;

}  // namespace

void SetLabelTranslator(LabelTranslator* translator) { g_labelTranslator = translator; }

LabelTranslator* GetLabelTranslator() { return g_labelTranslator; }

Str TranslateLabel(const Str& label) {
  if (g_labelTranslator == nullptr) return label;
  return g_labelTranslator->Translate(label);
}
