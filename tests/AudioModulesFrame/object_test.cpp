// The registry, its messages, and the tree that owns.
#include "AM_Messages.h"
#include "AM_Object.h"
#include "TestManager.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace {

// A node with a name that notes what it hears.
class Node : public AM_Tree {
public:
    explicit Node(std::string text, u32 mask = 0) : name(std::move(text)) { typeMask = mask; }
    ~Node() override {
        if (died) ++*died;
    }
    const char* getName() const override { return name.c_str(); }
    void receiveMessage(AM_Object* sender, u32 id, u32 value, void* data) override {
        heard.push_back(id);
        lastValue = value;
        AM_Tree::receiveMessage(sender, id, value, data);
    }

    std::string name;
    std::vector<u32> heard;
    u32 lastValue = 0;
    i32* died = nullptr; // counts destroyed nodes
};

std::string order(const AM_Tree& parent) {
    std::string names;
    const AM_Tree* before = nullptr;
    for (AM_Tree* child = parent.getFirstChild(); child; child = child->getNext()) {
        EXPECT_EQ(child->getPrevious(), before);
        EXPECT_EQ(child->getParent(), &parent);
        names += child->getName();
        before = child;
    }
    return names;
}

} // namespace

TEST(Object, MessagesReachMaskAsItWasWhenAdded) {
    AM_ObjectHost host(10);
    Node a("a", k_classAudioObject), b("b", k_classViewControl), c("c", k_classAudioObject);
    for (Node* node : {&a, &b, &c})
        node->setHost(&host);
    b.typeMask |= k_classAudioObject; // too late for the registry

    a.sendMessage(0, 100, 0, nullptr);
    a.sendMessage(k_classAudioObject, 101, 7, nullptr);
    EXPECT_TRUE(a.heard.empty());
    EXPECT_EQ(b.heard, (std::vector<u32>{100}));
    EXPECT_EQ(c.heard, (std::vector<u32>{100, 101}));
    EXPECT_EQ(c.lastValue, 7u);

    c.setHost(nullptr);
    a.sendMessage(0, 102, 0, nullptr);
    c.sendMessage(0, 103, 0, nullptr); // without a registry: nobody hears it
    EXPECT_EQ(c.heard.size(), 2u);
    EXPECT_EQ(b.heard.back(), 102u);
    EXPECT_EQ(host.getCount(), 2);
}

TEST(Object, AnswerRequestCannotLoop) {
    AM_ObjectHost host(10);
    Node asker("asker"), one("one", 2), two("two", 2);
    for (Node* node : {&asker, &one, &two})
        node->setHost(&host);
    asker.sendMessage(2, AM_Message_AnswerRequest, AM_Message_CountObject, nullptr);
    EXPECT_EQ(asker.heard, (std::vector<u32>{19, 19}));
    EXPECT_EQ(asker.lastValue, 26u);

    asker.sendMessage(2, AM_Message_AnswerRequest, 26, nullptr);
    asker.sendMessage(2, AM_Message_AnswerRequest, 0, nullptr);
    one.receiveMessage(nullptr, AM_Message_AnswerRequest, 19, nullptr);
    EXPECT_EQ(asker.heard.size(), 2u);
    EXPECT_EQ(asker.getHost(), &host);
}

TEST(Object, RegistryGrowsKeepsTheOrderAndTurnsAway) {
    LogCapture log;
    AM_ObjectHost host(100);
    std::vector<std::unique_ptr<Node>> nodes;
    const auto fill = [&](size_t count) {
        while (nodes.size() < count) {
            nodes.push_back(std::make_unique<Node>("n"));
            nodes.back()->setHost(&host);
        }
    };
    testing::internal::CaptureStdout();
    for (const auto& [count, capacity] : {std::pair{99u, 100}, {100u, 110}, {110u, 210}}) {
        fill(count);
        EXPECT_EQ(host.getCapacity(), capacity);
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Number of Objects exceeded 100. Please increase initial size in AM_Host!\n"
              "Number of Objects exceeded 110. Please increase initial size in AM_Host!\n");
    for (size_t i = 0; i < nodes.size(); ++i)
        EXPECT_EQ(host.getRecords()[i].object, nodes[i].get());
    nodes.erase(nodes.begin()); // the last record fills the hole
    EXPECT_EQ(host.getCount(), 109);
    EXPECT_EQ(host.getRecords()[0].object, nodes.back().get());

    testing::internal::CaptureStdout();
    fill(100011);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(host.getCount(), 100010);
    EXPECT_EQ(log.count("is full"), 1);
    EXPECT_EQ(host.getRecords()[100009].object, nodes[100009].get());
    while (host.getCount() > 0) // the first is found at once
        host.removeObject(host.getRecords()[0].object);
    nodes.clear(); // the one outside leaves without a trace
    EXPECT_EQ(host.getCount(), 0);
}

TEST(Object, SurvivorsOfTheRegistryAreNamedAndSafe) {
    LogCapture log;
    auto host = std::make_unique<AM_ObjectHost>(4);
    Node a("left over"), b("gone");
    a.setHost(host.get());
    {
        Node c("short");
        c.setHost(host.get());
    }
    b.setHost(host.get());
    b.setHost(nullptr);
    host.reset();
    EXPECT_EQ(a.getHost(), nullptr);
    EXPECT_EQ(log.count("Object still alive while shutting down: left over"), 1);
    EXPECT_EQ(log.count("still alive"), 1);
}

TEST(Tree, ReachesSubtreeAndFollowingSiblings) {
    AM_ObjectHost host(20);
    Node root("root");
    auto* a = new Node("a");
    auto* b = new Node("b");
    auto* below = new Node("below");
    root.add(a);
    root.add(b);
    a->add(below);
    a->setHost(&host);
    EXPECT_EQ(root.getHost(), nullptr);
    for (Node* node : {a, b, below})
        EXPECT_EQ(node->getHost(), &host);
    EXPECT_EQ(host.getCount(), 3);
    a->setHost(&host); // the registry that it has: nothing is added twice
    EXPECT_EQ(host.getCount(), 3);
    auto* late = new Node("late");
    b->add(late);
    EXPECT_EQ(late->getHost(), &host);
    EXPECT_EQ(root.find("below"), below);
    EXPECT_EQ(a->find("b"), b);
    EXPECT_EQ(b->find("a"), nullptr);
}

TEST(Tree, MovesKeepTheOthersInOrder) {
    i32 died = 0;
    auto root = std::make_unique<Node>("root");
    std::vector<Node*> nodes;
    for (const char* name : {"A", "B", "C", "T", "D"}) {
        nodes.push_back(new Node(name));
        nodes.back()->died = &died;
        root->add(nodes.back());
    }
    Node *a = nodes[0], *t = nodes[3];
    const std::pair<std::function<void()>, const char*> moves[] = {
        {[=] { t->moveToFront(); }, "TABCD"},     {[=] { t->moveToBack(); }, "ABCDT"},
        {[=] { t->moveBefore(a); }, "TABCD"},     {[&] { t->moveBehind(nodes[1]); }, "ABTCD"},
        {[=] { t->moveBehind(t); }, "ABTCD"},     {[&] { t->moveBefore(nodes[2]); }, "ABTCD"},
        {[=] { a->unlink(); }, "BTCD"},           {[&] { a->moveBehind(nodes[4]); }, "BTCDA"},
        {[=] { t->unlink(), delete t; }, "BCDA"},
    };
    for (const auto& [move, expected] : moves) {
        move();
        EXPECT_EQ(order(*root), expected);
    }
    auto* deep = new Node("x");
    deep->died = &died;
    a->add(deep);
    root.reset();
    EXPECT_EQ(died, 6) << "deleting the root deletes all";
}
