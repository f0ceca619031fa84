#include "core/tree/BAttribute.h"

BAttribute::~BAttribute() = default;
