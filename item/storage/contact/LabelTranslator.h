// The translator of the labels that extended phones carry, as the contact template words them. Until
// one is set, a label stands as it is.
#pragma once

#include "foundation/Str.h"

class LabelTranslator {
 public:
  virtual ~LabelTranslator() {}
  virtual Str Translate(const Str& label) const = 0;
};

// The process-wide translator; null puts back the identity.
void SetLabelTranslator(LabelTranslator* translator);
LabelTranslator* GetLabelTranslator();
// `label` through the current translator.
Str TranslateLabel(const Str& label);
