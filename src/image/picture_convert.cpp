// Picture-to-frame conversion (being written).
