#include "core/tree/BVisitor.h"

BVisitor::~BVisitor() = default;

bool BVisitor::TreatNode(BNode*)
{
    return false;
}

bool BVisitor::Treat(BSmartObj*)
{
    return false;
}

void BVisitor::TreatAnnotation(SP<BSmartObj>, SP<const BSmartObj>) {}

void BVisitor::PushPath(BNode*) {}

void BVisitor::PopPath() {}

void BVisitor::PushAttrib(BAttribute*) {}

void BVisitor::PopAttrib(BAttribute*) {}

void BVisitor::VisitInactiveNodes(bool visit)
{
    m_visitInactive = visit ? 1 : 0;
}

bool BVisitor::VisitInactiveNodes() const
{
    return m_visitInactive != 0;
}
