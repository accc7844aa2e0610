// Carries the precompiled headers that the rooms with widgets share.
