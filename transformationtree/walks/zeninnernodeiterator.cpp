#include "transformationtree/walks/zeninnernodeiterator.h"

using Iterator = ZeCTransformationNode::ZeNInnerNodeIterator;

Iterator& Iterator::operator++() { return toNextStop(*this); }

Iterator& Iterator::operator--() { return toPreviousStop(*this); }
