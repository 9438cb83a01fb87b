#pragma once

class QFont;
class QString;
class QWidget;

namespace LanguageUtils {

// Adjusts a font for the user's locale: face and size for East Asian locales, size base + 8
// elsewhere, then the bold attribute. The default row leaves the face as it is, since an
// empty family would drop the face the page asked for.
void ApplyLanguageFont(QFont& font, bool bold, int baseSize);

// The same, applied to a widget's own font.
void ApplyLanguageFont(QWidget* widget, bool bold, int baseSize);

// A control's design face ("Verdana", "Arial"...) and then the adjustment for the locale.
void ApplyLanguageFont(QWidget* widget, const QString& designFace, bool bold, int baseSize);

}  // namespace LanguageUtils
