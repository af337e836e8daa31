#include "transformationtree/zeitransformationtree.h"

ZeITransformationTree::~ZeITransformationTree() = default;
