#include "core/memory/CMemoryBlock.h"

CMemoryBlock::~CMemoryBlock() = default;
