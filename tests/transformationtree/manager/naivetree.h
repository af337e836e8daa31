#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

/// A node of the naive tree.
struct NaiveNode
{
    int number;
    bool leaf;
    NaiveNode* father = nullptr;
    std::vector<NaiveNode*> children; ///< also nodes that have another father by now
    bool managed = false;             ///< in the data manager
    bool registered = true;           ///< found by its id
    bool held = true;                 ///< the test has a reference
    long renewed = 1;                 ///< the number of its renewal in the last edit; 0: none
};

/// The exception that an edit has to end with. Line 0 stands for any line.
struct NaiveRefusal
{
    std::string function;
    unsigned line = 0;
};

/// What the node manager has to do, written down without a thought for speed: plain nodes, plain
/// recursion, and nothing of the library.
class NaiveTree
{
public:
    using Refusal = std::optional<NaiveRefusal>;

    NaiveNode* Create(bool leaf);
    [[nodiscard]] bool Link();
    [[nodiscard]] bool Unlink();
    Refusal SetRoot(NaiveNode* root);
    void UnsetRoot();
    Refusal Insert(NaiveNode* father, std::size_t index, NaiveNode* child);
    Refusal InsertBefore(NaiveNode* father, const NaiveNode* before, NaiveNode* child);
    void Remove(NaiveNode* father, NaiveNode* child);
    Refusal Replace(NaiveNode* father, NaiveNode* oldChild, NaiveNode* newChild);
    Refusal Exchange(NaiveNode* father, NaiveNode* oldChild, NaiveNode* newChild);
    Refusal Move(NaiveNode* newFather, NaiveNode* node, const NaiveNode* before);
    void Delete(NaiveNode& node) { node.registered = false; }
    void AddSubtree(NaiveNode& node);

    /// Forgets what the last edit renewed.
    void StartEdit();
    /// Takes the nodes out that nothing refers to any more, and returns them.
    [[nodiscard]] std::vector<std::unique_ptr<NaiveNode>> TakeDead();

    [[nodiscard]] const std::vector<std::unique_ptr<NaiveNode>>& GetNodes() const { return nodes_; }
    [[nodiscard]] NaiveNode* GetRoot() const { return root_; }
    /// The place of an entry; the number of children where there is none.
    [[nodiscard]] static std::size_t IndexOf(const NaiveNode& father, const NaiveNode* child);
    /// The node and what stands below it, children before their father, without the entries that
    /// have another father.
    [[nodiscard]] static std::vector<NaiveNode*> Subtree(NaiveNode& top);

private:
    /// Both revisions of the node are renewed.
    void renew(NaiveNode& node) { node.renewed = ++renewals_; }
    [[nodiscard]] bool isInsertable(const NaiveNode* father, const NaiveNode* child) const;
    static void link(NaiveNode& father, std::size_t index, NaiveNode& child);
    static void bringIn(NaiveNode& top, bool registered);
    void takeOut(NaiveNode& top);
    Refusal put(const std::string& function, NaiveNode* father, NaiveNode* oldChild,
                NaiveNode* newChild, bool replace);

    std::vector<std::unique_ptr<NaiveNode>> nodes_;
    NaiveNode* root_ = nullptr;
    bool linked_ = false;
    int created_ = 0;
    long renewals_ = 1;
};
