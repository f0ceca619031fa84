#include "core/operation/BOperationInterface.h"

BOperationInterface::~BOperationInterface() = default;

void BOperationInterface::Stop() {}
