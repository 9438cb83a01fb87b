#include "ApplyLanguageFont.h"

#include "LanguageUtils.h"
#include "SystemInfo.h"

#include <QFont>
#include <QString>
#include <QWidget>

namespace LanguageUtils {

void ApplyLanguageFont(QFont& font, bool bold, int baseSize)
{
    const LanguageFont choice = LanguageFontFor(sys::machine().userDefaultLcid(), bold, baseSize);
    if (!choice.faceName.empty())
        font.setFamily(QString::fromStdString(choice.faceName));
    font.setPointSize(choice.size);
    font.setBold(choice.bold);
}

void ApplyLanguageFont(QWidget* widget, bool bold, int baseSize)
{
    QFont f = widget->font();
    ApplyLanguageFont(f, bold, baseSize);
    widget->setFont(f);
}

void ApplyLanguageFont(QWidget* widget, const QString& designFace, bool bold, int baseSize)
{
    QFont f = widget->font();
    f.setFamily(designFace);
    ApplyLanguageFont(f, bold, baseSize);
    widget->setFont(f);
}

}  // namespace LanguageUtils
