#pragma once

class BNode;
class BVisitor;

// How `BNode::Traverse` and `BNode::TraverseObjects` lead a visitor through a subtree: without
// recursion below plain nodes, so that depth does not matter; a child of a derived class gets the
// call of its own.

void TraverseTree(BNode& start, BVisitor& visitor);
void TraverseTreeObjects(BNode& start, BVisitor& visitor);
