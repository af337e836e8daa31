#pragma once

#include "platform/base/cbweakpointer.h"
#include "tests/support/treetestaccess.h"
#include "tests/transformationtree/naivetree.h"

#include <array>
#include <map>
#include <string>

/// The library's nodes beside the naive ones, to compare them.
class NaiveTwins
{
public:
    using Node = CbSmartPointer<ZeCTransformationNode>;

    NaiveTwins(NaiveTree& naive, const CyDataManager& dataManager, const CyNode& dataNode)
        : naive_(naive), dataManager_(dataManager), dataNode_(dataNode)
    {}

    /// Pairs a node with its twin, and holds it.
    void Add(const NaiveNode* naive, const Node& node);
    /// Holds the twin no longer; it may live on.
    void Release(const NaiveNode* naive) { twins_.at(naive).held = nullptr; }
    /// The twin of a node; null for null.
    [[nodiscard]] Node Get(const NaiveNode* naive) const;
    [[nodiscard]] static std::string NameOf(const NaiveNode* naive);

    /// The first difference between the two sides after an edit; empty where there is none.
    [[nodiscard]] std::string FindDifference();

private:
    struct Twin
    {
        CbWeakPointer<ZeCTransformationNode> node;
        Node held;
        const ZeCTransformationNode* address;
        CyUniqueID id;
        std::array<long long, 2> revisions;
    };

    [[nodiscard]] std::string findDifference(const NaiveNode& naive, long long newestBefore);
    [[nodiscard]] std::string findMirrorDifference(const NaiveNode& naive,
                                                   const CyNode& node) const;
    [[nodiscard]] const ZeCTransformationNode* addressOf(const NaiveNode* naive) const
    {
        return naive != nullptr ? twins_.at(naive).address : nullptr;
    }
    static ZeCTransformationNodeManager& manager()
    {
        return CbSingleton<ZeCTransformationNodeManager>::GetInstance();
    }

    NaiveTree& naive_;
    const CyDataManager& dataManager_;
    const CyNode& dataNode_;
    std::map<const NaiveNode*, Twin> twins_;
    long long newest_ = 0; ///< revision
};
