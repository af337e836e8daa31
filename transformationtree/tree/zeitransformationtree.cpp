#include "transformationtree/tree/zeitransformationtree.h"

ZeITransformationTree::~ZeITransformationTree() = default;
