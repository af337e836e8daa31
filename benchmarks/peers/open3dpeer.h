#pragma once

#include "benchmarks/peers/peers.h"

[[nodiscard]] std::unique_ptr<Peer> MakeOpen3dPeer(const std::vector<SyntheticScan>& scans);
