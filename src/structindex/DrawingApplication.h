#pragma once

// The structure drawing application ("Sketchwell.Application") that the library expects to be
// running while structures are converted. The rebuild only holds a reference to it.
class DrawingApplication {
public:
    virtual ~DrawingApplication() = default;
};
