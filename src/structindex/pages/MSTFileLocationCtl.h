#pragma once

#include "FieldPage.h"

// The folder in which the chemical structure index file (.mst) is built or to which it is
// copied.
class MSTFileLocationCtl : public FieldPage {
    Q_OBJECT
    Q_PROPERTY(QString Path READ Path)
    Q_PROPERTY(bool ReplaceMSTFile READ ReplaceMSTFile WRITE setReplaceMSTFile)
    Q_PROPERTY(bool IsBrowseClicked READ IsBrowseClicked)
public:
    explicit MSTFileLocationCtl(QWidget* parent = nullptr);

    // The text box's text exactly as it stands.
    QString Path() const;

    // Kept for the frame; the page itself never acts on it.
    bool ReplaceMSTFile() const { return m_replaceMSTFile; }
    void setReplaceMSTFile(bool replace) { m_replaceMSTFile = replace; }

    // True after Browse, false again after any key is released in the text box.
    bool IsBrowseClicked() const { return m_browseClicked; }

    // The folder browser over this page: the chosen folder, the box's current text when the
    // user cancels, an empty text for an item without a file-system path.
    QString BrowseForDirectory();

protected:
    // Selects the name part of a path that ends in ".mst", otherwise the whole text.
    void selectOnShow() override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void onBrowse();

    bool m_browseClicked = false;
    bool m_replaceMSTFile = false;
};
