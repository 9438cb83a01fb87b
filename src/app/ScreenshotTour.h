#pragma once

#include <QString>

class frmInstall;

// Walks the wizard through the pages it can reach and saves a PNG of the window on each.
// Returns the number of pictures saved.
int SaveScreenshots(frmInstall& window, const QString& folder);

// The screenshot mode needs no screen: started with --screenshots where there is no display
// and no platform was chosen, the window is drawn on the offscreen platform. Call before the
// application object exists.
void UseOffscreenPlatformForScreenshots(int argc, char** argv);
