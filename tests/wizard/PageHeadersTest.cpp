#include "PageHeaders.h"

#include <gtest/gtest.h>

namespace {

struct Row {
    int16_t page;
    int32_t task;
    const char* top;
    const char* header;
    const char* bottom;   // nullptr: left as it is
    const char* next;     // nullptr: left as it is
};

const Row kRows[] = {
    {1, 2, "Setup Tasks", "Select the task you want to perform.", "", "Next >"},
    {2, 5, "Rebuild SQLServer Chemical Structure Index",
     "Select the database server that contains the chemical structures to index.", "", nullptr},
    {2, 1, "Multi-User Database Setup", "Select the database server that will host the new multi-user database.", "",
     nullptr},
    {3, 5, "Rebuild SQLServer Chemical Structure Index",
     "Select the database that contains the chemical structures to index.", "", "&Next >"},
    {3, 1, "Multi-User Database Setup", "Provide the name of the multi-user database you want to create.", "",
     "&Next >"},
    {3, 2, "SQL Server Information", "ShowDB not supported for this task.", "", "&Next >"},
    {4, 5, "Chemical Structure Index Location",
     "Provide the location of the chemical structure index that you want to build.", "", "&Next >"},
    {4, 1, "Mst File Location", "Provide the location of a shared folder.",
     "The chemical structure index files are copied to the selected shared folder. Typically the shared folder will "
     "exist on a file server that is accessible by everyone. One of these files has an extension of \".mst\" and is "
     "referred to as a MST File.",
     "&Next >"},
    {4, 3, "Mst File Location", "ShowMstFilePicker not supported for this task.", "", "&Next >"},
    {5, 1, "Service Name", "Provide the name of the service to which users will connect.",
     "The Service Name appears in the login window when connecting to an Labfolio database.", "&Next >"},
    {6, 1, "Service Folder Location", "Provide the location of the service files used to connect new clients.",
     "The Service Folder will contain three files that are used to set up other clients to connect to the same "
     "database.",
     "&Next >"},
    {7, 1, "Backup Folder Location",
     "Provide the location of the folder containing the backup file used to transfer data from your local database to "
     "the multi-user database.",
     "NOTE: The location of the backup file must be accessible from both your computer and the computer hosting the "
     "multi-user database. Typically, this folder will be on a file server.",
     "&Next >"},
    {12, 2, "Service File Location", "Provide the path to the service file.",
     "The location of the service file should be provided to you by the system administrator who set up the "
     "multi-user database.",
     "&Next >"},
};

void expectRow(const PageHeader& h, const Row& r)
{
    EXPECT_EQ(h.top, r.top) << r.page << "/" << r.task;
    EXPECT_EQ(h.header, r.header) << r.page << "/" << r.task;
    if (r.bottom)
        EXPECT_EQ(h.bottom, std::optional<std::string>(r.bottom)) << r.page << "/" << r.task;
    else
        EXPECT_FALSE(h.bottom.has_value()) << r.page << "/" << r.task;
    if (r.next)
        EXPECT_EQ(h.nextCaption, std::optional<std::string>(r.next)) << r.page << "/" << r.task;
    else
        EXPECT_FALSE(h.nextCaption.has_value()) << r.page << "/" << r.task;
}

}  // namespace

TEST(PageHeaders, EveryPageAndTaskGetsItsTexts)
{
    for (const Row& r : kRows)
        expectRow(HeaderFor(r.page, r.task), r);
}

TEST(PageHeaders, SummaryTextsByTask)
{
    const Row rows[] = {
        {8, 1, "Ready to Migrate Database", "Click Migrate to migrate the database as specified.",
         "You specified the following parameters:", "&Migrate"},
        {8, 2, "Ready to Create Connection To Service", "Click Create to create the connection.",
         "Service File: /srv/lab/Chem.lfsvc", "C&reate"},
        {8, 3, "Ready to Create Connection To Your Database", "Click Create to create the connection.",
         "Once the connection is created, choose the Labfolio Service \"Desktop\" when you start the Labfolio program "
         "to connect to your desktop database",
         "C&reate"},
        {8, 4, "Ready to Create Your Offline Database", "Click Create to create the offline database.", "", "C&reate"},
        {8, 5, "Ready to Build the MST File", "Click Build to Build the MST File as specified.",
         "You specified the following parameters:", "&Build"},
        {8, 6, "Ready to Remove Your Offline Database", "Click Remove to delete the offline database.", "", "&Remove"},
    };
    for (const Row& r : rows)
        expectRow(SummaryHeader(r.task, "/srv/lab/Chem.lfsvc"), r);
}
