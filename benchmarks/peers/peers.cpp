#include "benchmarks/peers/peers.h"

#if defined(TREE_WITH_PCL)
#include "benchmarks/peers/pclpeer.h"
#endif
#if defined(TREE_WITH_OPEN3D)
#include "benchmarks/peers/open3dpeer.h"
#endif

PeerLibrary Pcl()
{
    PeerLibrary library{"PCL", "libpcl-dev", nullptr};
#if defined(TREE_WITH_PCL)
    library.makePeer = MakePclPeer;
#endif
    return library;
}

PeerLibrary Open3d()
{
    PeerLibrary library{"Open3D", "libopen3d-dev", nullptr};
#if defined(TREE_WITH_OPEN3D)
    library.makePeer = MakeOpen3dPeer;
#endif
    return library;
}
