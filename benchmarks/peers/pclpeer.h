#pragma once

#include "benchmarks/peers/peers.h"

[[nodiscard]] std::unique_ptr<Peer> MakePclPeer(const std::vector<SyntheticScan>& scans);
