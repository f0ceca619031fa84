#include "core/sync/BSyncableInterface.h"

BSyncableInterface::~BSyncableInterface() = default;
