#pragma once

#include <QString>

class frmInstall;

// Walks the wizard through the pages it can reach and saves a PNG of the window on each.
// Returns the number of pictures saved.
int SaveScreenshots(frmInstall& window, const QString& folder);
