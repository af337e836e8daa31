#pragma once

#include "transformationtree/manager/internal/nodechecks.h"
#include "transformationtree/manager/internal/nodelocks.h"
#include "transformationtree/manager/internal/noderegistry.h"
#include "transformationtree/manager/internal/structureedits.h"
#include "transformationtree/manager/internal/treemirror.h"
#include "transformationtree/manager/zectransformationnodemanager.h"

/// What the node manager is made of. Each part knows only those that are named with it.
///
///     NodeRegistry      nodes by their ids
///     TreeMirror        data manager, root, and the tree in the data manager
///     StructureEdits    links; uses registry and mirror
///     NodeLocks         handles and locks; uses the mirror
///     NodeChecks        reads registry, mirror and locks
struct ZeCTransformationNodeManager::Parts
{
    explicit Parts(CbCriticalSection& section) noexcept
        : registry(section),
          mirror(section),
          edits(section, registry, mirror),
          locks(mirror),
          checks(registry, mirror, locks)
    {}

    NodeRegistry registry;
    TreeMirror mirror;
    StructureEdits edits;
    NodeLocks locks;
    NodeChecks checks;
};
