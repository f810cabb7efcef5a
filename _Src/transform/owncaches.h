// The transforms' per-thread caches, as far as the core must know of them: their release.
#pragma once

struct OrvContext;

// Frees all work buffers and tables of the Fourier transforms and leaves the caches empty.
void ownReleaseFftCaches(OrvContext& context);

// Frees the level tables and the cosine table and zeroes their counts.
void ownReleaseDctCaches(OrvContext& context);
