#include "TaskFlowView.h"
#include "TaskOffer.h"

#include <gtest/gtest.h>

TEST(TaskOffer, AComputerWithEverythingOffersEveryTaskAndStartsWithTheMigration)
{
    const TaskOffer offer(true, true, true);
    for (int32_t task = 1; task <= 6; ++task)
        EXPECT_TRUE(offer.offers(task)) << task;
    EXPECT_EQ(offer.preselected(), TaskFlowView::MigrateDatabase);
}

TEST(TaskOffer, WithoutTheDatabaseEngineOnlyConnectingAndTheRebuildAreOffered)
{
    const TaskOffer offer(false, true, true);
    EXPECT_EQ(offer.whyNot(TaskFlowView::MigrateDatabase),
              "no SQL Server or MSDE instance is installed on this computer");
    EXPECT_FALSE(offer.offers(TaskFlowView::ConnectDesktop));
    EXPECT_FALSE(offer.offers(TaskFlowView::CreateOffline));
    EXPECT_TRUE(offer.offers(TaskFlowView::ConnectService));
    EXPECT_TRUE(offer.offers(TaskFlowView::RebuildIndex));
    EXPECT_TRUE(offer.offers(TaskFlowView::RemoveOffline));
    EXPECT_EQ(offer.preselected(), TaskFlowView::ConnectService);
}

TEST(TaskOffer, WithoutTheProductNeitherMigrationNorDesktopConnection)
{
    const TaskOffer offer(true, false, true);
    EXPECT_EQ(offer.whyNot(TaskFlowView::ConnectDesktop), "Labfolio is not installed on this computer");
    EXPECT_FALSE(offer.offers(TaskFlowView::MigrateDatabase));
    EXPECT_TRUE(offer.offers(TaskFlowView::CreateOffline));
    EXPECT_EQ(offer.preselected(), TaskFlowView::ConnectService);
}

TEST(TaskOffer, WithoutTheChemistryComponentNoRebuild)
{
    const TaskOffer offer(true, true, false);
    EXPECT_EQ(offer.whyNot(TaskFlowView::RebuildIndex),
              "the chemistry component is not installed on this computer");
    EXPECT_TRUE(offer.offers(TaskFlowView::MigrateDatabase));
}
