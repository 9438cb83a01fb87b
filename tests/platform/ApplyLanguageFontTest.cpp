#include "ApplyLanguageFont.h"
#include "FakeSystemInfo.h"

#include <QFont>
#include <QLabel>
#include <gtest/gtest.h>

TEST(ApplyLanguageFont, DefaultRowKeepsTheFaceAndSetsSizeAndBold)
{
    auto fake = std::make_shared<FakeSystemInfo>();
    fake->lcid = 1036;
    sys::ScopedSystemOverride override(fake);
    QFont font("Verdana");
    LanguageUtils::ApplyLanguageFont(font, true, 1);
    EXPECT_EQ(font.family(), "Verdana");
    EXPECT_EQ(font.pointSize(), 9);
    EXPECT_TRUE(font.bold());
}

TEST(ApplyLanguageFont, KoreanSetsItsFaceOnAWidget)
{
    auto fake = std::make_shared<FakeSystemInfo>();
    fake->lcid = 1042;
    sys::ScopedSystemOverride override(fake);
    QLabel label;
    label.setFont(QFont("Arial"));
    LanguageUtils::ApplyLanguageFont(&label, false, 0);
    EXPECT_EQ(label.font().family(), QString::fromUtf8("\xea\xb5\xb4\xeb\xa6\xbc"));
    EXPECT_EQ(label.font().pointSize(), 9);
    EXPECT_FALSE(label.font().bold());
}
