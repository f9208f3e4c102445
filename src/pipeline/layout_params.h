#pragma once

namespace netloom {

// The calling thread's layout parameters as one value, so that helper threads
// working for a layout can take over the values of the thread that runs it.
struct LayoutParams {
    double distance;
    double distanceSqr;
    double columnSpacing;
    double layerSpacing;

    static LayoutParams Current();
    // Writes the values into the calling thread's parameters.
    void Apply() const;
};

} // namespace netloom
