#pragma once

#include "FileDialogs.h"

class QWidget;

#include <deque>
#include <vector>

// Folder and file dialogs that answer from a script and record what they were asked. With no
// answer queued, a dialog is cancelled.
class FakeFileDialogs : public dialogs::FileDialogs {
public:
    struct FolderCall {
        QWidget* owner = nullptr;
        QString title;
        unsigned flags = 0;
    };
    struct FileCall {
        QWidget* owner = nullptr;
        dialogs::FileRequest request;
    };

    void confirmFolder(const QString& path) { m_folders.push_back(dialogs::FolderChoice::folder(path)); }
    void returnItemWithoutPath() { m_folders.push_back(dialogs::FolderChoice::itemWithoutPath()); }
    void cancelFolder() { m_folders.push_back(dialogs::FolderChoice::cancelled()); }

    void confirmFile(const QString& name) { m_files.push_back(dialogs::FileChoice::confirmed(name)); }
    void cancelFile() { m_files.push_back(dialogs::FileChoice::cancelled()); }
    void failFile() { m_files.push_back(dialogs::FileChoice::failed()); }

    dialogs::FolderChoice browseForFolder(QWidget* owner, const QString& title, unsigned flags) override
    {
        m_folderCalls.push_back({owner, title, flags});
        return next(m_folders, dialogs::FolderChoice::cancelled());
    }

    dialogs::FileChoice browseForFile(QWidget* owner, const dialogs::FileRequest& request) override
    {
        m_fileCalls.push_back({owner, request});
        return next(m_files, dialogs::FileChoice::cancelled());
    }

    const std::vector<FolderCall>& folderCalls() const { return m_folderCalls; }
    const std::vector<FileCall>& fileCalls() const { return m_fileCalls; }

private:
    template <typename T> static T next(std::deque<T>& queue, T fallback)
    {
        if (queue.empty())
            return fallback;
        T answer = queue.front();
        queue.pop_front();
        return answer;
    }

    std::deque<dialogs::FolderChoice> m_folders;
    std::deque<dialogs::FileChoice> m_files;
    std::vector<FolderCall> m_folderCalls;
    std::vector<FileCall> m_fileCalls;
};
