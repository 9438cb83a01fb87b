#include "PageHeaders.h"

namespace {

constexpr const char* kNext = "&Next >";
constexpr const char* kParameters = "You specified the following parameters:";

}  // namespace

PageHeader HeaderFor(int16_t page, int32_t task)
{
    switch (page) {
    case 1:
        return {"Setup Tasks", "Select the task you want to perform.", "", "Next >"};
    case 2:
        if (task == 5)
            return {"Rebuild SQLServer Chemical Structure Index",
                    "Select the database server that contains the chemical structures to index.", "", std::nullopt};
        return {"Multi-User Database Setup", "Select the database server that will host the new multi-user database.",
                "", std::nullopt};
    case 3:
        if (task == 5)
            return {"Rebuild SQLServer Chemical Structure Index",
                    "Select the database that contains the chemical structures to index.", "", kNext};
        if (task == 1)
            return {"Multi-User Database Setup", "Provide the name of the multi-user database you want to create.", "",
                    kNext};
        return {"SQL Server Information", "ShowDB not supported for this task.", "", kNext};
    case 4:
        if (task == 5)
            return {"Chemical Structure Index Location",
                    "Provide the location of the chemical structure index that you want to build.", "", kNext};
        if (task == 1)
            return {"Mst File Location", "Provide the location of a shared folder.",
                    std::string("The chemical structure index files are copied to the selected shared folder. ") +
                        "Typically the shared folder will exist on a file server that is accessible by everyone. " +
                        "One of these files has an extension of \".mst\" and is referred to as a MST File.",
                    kNext};
        return {"Mst File Location", "ShowMstFilePicker not supported for this task.", "", kNext};
    case 5:
        return {"Service Name", "Provide the name of the service to which users will connect.",
                "The Service Name appears in the login window when connecting to an Labfolio database.", kNext};
    case 6:
        return {"Service Folder Location", "Provide the location of the service files used to connect new clients.",
                "The Service Folder will contain three files that are used to set up other clients to connect to the "
                "same database.",
                kNext};
    case 7:
        return {"Backup Folder Location",
                "Provide the location of the folder containing the backup file used to transfer data from your local "
                "database to the multi-user database.",
                "NOTE: The location of the backup file must be accessible from both your computer and the computer "
                "hosting the multi-user database. Typically, this folder will be on a file server.",
                kNext};
    case 12:
        return {"Service File Location", "Provide the path to the service file.",
                "The location of the service file should be provided to you by the system administrator who set up the "
                "multi-user database.",
                kNext};
    default:
        return {};
    }
}

PageHeader SummaryHeader(int32_t task, const std::string& serviceFilePath)
{
    switch (task) {
    case 1:
        return {"Ready to Migrate Database", "Click Migrate to migrate the database as specified.", kParameters,
                "&Migrate"};
    case 2:
        return {"Ready to Create Connection To Service", "Click Create to create the connection.",
                "Service File: " + serviceFilePath, "C&reate"};
    case 3:
        return {"Ready to Create Connection To Your Database", "Click Create to create the connection.",
                "Once the connection is created, choose the Labfolio Service \"Desktop\" when you start the Labfolio "
                "program to connect to your desktop database",
                "C&reate"};
    case 4:
        return {"Ready to Create Your Offline Database", "Click Create to create the offline database.", "", "C&reate"};
    case 5:
        return {"Ready to Build the MST File", "Click Build to Build the MST File as specified.", kParameters,
                "&Build"};
    case 6:
        return {"Ready to Remove Your Offline Database", "Click Remove to delete the offline database.", "",
                "&Remove"};
    default:
        return {"", "", kParameters, std::nullopt};
    }
}
