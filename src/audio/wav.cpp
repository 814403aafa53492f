// WAV input and output (being written).
