// A disk that fills up while the migration copies the backup into the backup folder.
#include "ChildProcess.h"
#include "MigrationFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using ::testing::HasSubstr;

namespace {

TEST(MigrationFullDiskTest, BackupCopyFailsCleanlyAndKeepsTheOlderBackup)
{
    MigrationFixture f;
    f.server->backupBytes = std::string(size_t(3) << 20, 'b');
    f.dir.write("backups/LFDesktop.BAK", "last week's backup");

    // The backup has been written; from the copy on, no file of this process may grow past 1 MiB.
    class FillsUpBeforeTheCopy : public RecordingProgress {
    public:
        void setMessage(const std::string& text) override
        {
            if (text == "Copying Database Backup File...")
                limitFileSize(size_t(1) << 20);
            RecordingProgress::setMessage(text);
        }
    };
    const ChildResult r = runInChild([&](std::string& text) {
        FillsUpBeforeTheCopy progress;
        engine::Migration migration(progress, f.stop, f.prompter);
        try {
            migration.Migrate("PC1\\VELDRIN", "LFDesktop10", "LABSRV2", "Labfolio", f.sourceIndex(),
                              f.targetFolder(), "Chemistry", "", "", "", f.bakPath().string());
        } catch (const LfError& e) {
            text = e.source() + "|" + e.description();
            return 1;
        }
        return 0;
    });
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.text, "DBMigrateProgressCtl.Migrate|while copying the file \"" + f.localBackup().string() +
                          "\" to \"" + f.bakPath().string() + "\": the file is too large for the disk");
    EXPECT_EQ(readFile(f.bakPath()), "last week's backup");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(f.dir.path() / "backups"), {}), 1);
    EXPECT_FALSE(std::filesystem::exists(f.localBackup()));
}

} // namespace
