#pragma once

#include "soak/faults/Operations.h"

/// A reader for each kind of file, and of numbers: what it found is a digest of all the content,
/// and no for an answer means that the class told a failure.
std::span<const Operation> Readers();

/// Puts what they read into the folder.
void PrepareReaders(const Place& place);
/// Makes what they need besides, before anything fails.
void ReadyReaders();
