// Only its precompiled header is used.
