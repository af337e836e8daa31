#include "platform/base/cbstreamwrite.h"

CbStreamWrite::~CbStreamWrite() = default;
