// The registry, its messages, and the tree that owns.
#include "AM_Allocator.h"
#include "AM_Messages.h"
#include "AM_Object.h"
#include "TestManager.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

// A node with a name that notes what it hears.
class Node : public AM_Tree {
public:
    explicit Node(std::string text, u32 mask = 0) : name(std::move(text)) { typeMask = mask; }
    ~Node() override {
        if (died) died->push_back(name);
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
    std::vector<std::string>* died = nullptr;
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

TEST(Object, RegistryGrowsAndKeepsTheOrder) {
    AM_ObjectHost host(100);
    std::vector<std::unique_ptr<Node>> nodes;
    const auto fill = [&](size_t count) {
        while (nodes.size() < count) {
            nodes.push_back(std::make_unique<Node>("n"));
            nodes.back()->setHost(&host);
        }
    };
    testing::internal::CaptureStdout();
    fill(99);
    EXPECT_EQ(host.getCapacity(), 100);
    fill(100);
    EXPECT_EQ(host.getCapacity(), 110);
    fill(110);
    EXPECT_EQ(host.getCapacity(), 210);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Number of Objects exceeded 100. Please increase initial size in AM_Host!\n"
              "Number of Objects exceeded 110. Please increase initial size in AM_Host!\n");
    for (size_t i = 0; i < nodes.size(); ++i)
        EXPECT_EQ(host.getRecords()[i].object, nodes[i].get());

    nodes.erase(nodes.begin()); // the last record fills the hole
    EXPECT_EQ(host.getCount(), 109);
    EXPECT_EQ(host.getRecords()[0].object, nodes.back().get());
}

TEST(Object, FullRegistryTurnsObjectsAway) {
    LogCatcher log;
    AM_ObjectHost host(100000);
    std::vector<std::unique_ptr<Node>> nodes;
    testing::internal::CaptureStdout();
    for (int i = 0; i < 100001; ++i) {
        nodes.push_back(std::make_unique<Node>("n"));
        nodes.back()->setHost(&host);
    }
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(host.getCount(), 100000);
    EXPECT_EQ(log.count("is full"), 1);
    EXPECT_EQ(host.getRecords()[99999].object, nodes[99999].get());
    while (host.getCount() > 0) // the first record is found at once
        host.removeObject(host.getRecords()[0].object);
    nodes.clear(); // the one outside leaves without a trace
    EXPECT_EQ(host.getCount(), 0);
}

TEST(Object, SurvivorsOfTheRegistryAreNamedAndSafe) {
    const size_t blocks = AM_liveAllocations();
    LogCatcher log;
    auto host = std::make_unique<AM_ObjectHost>(4);
    {
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
    EXPECT_EQ(AM_liveAllocations(), blocks);
}

TEST(Tree, HandsTheRegistryToSubtreeAndFollowingSiblings) {
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
}

TEST(Tree, FindsDescendantsAndFollowingSiblings) {
    Node root("root");
    auto* a = new Node("a");
    auto* b = new Node("b");
    auto* deep = new Node("deep");
    root.add(a);
    root.add(b);
    a->add(deep);
    EXPECT_EQ(root.getNumChildren(), 2u);
    EXPECT_EQ(root.find("deep"), deep);
    EXPECT_EQ(a->find("b"), b);
    EXPECT_EQ(b->find("a"), nullptr);
    EXPECT_EQ(root.find("dee"), nullptr);
}

TEST(Tree, MovesKeepTheOthersInOrder) {
    Node root("root");
    std::vector<Node*> nodes;
    for (const char* name : {"A", "B", "C", "T", "D"}) {
        nodes.push_back(new Node(name));
        root.add(nodes.back());
    }
    Node* t = nodes[3];
    t->moveToFront();
    EXPECT_EQ(order(root), "TABCD");
    t->moveToBack();
    EXPECT_EQ(order(root), "ABCDT");
    t->moveBefore(nodes[0]);
    EXPECT_EQ(order(root), "TABCD");
    t->moveBehind(nodes[1]);
    EXPECT_EQ(order(root), "ABTCD");
    t->moveBehind(t);
    t->moveBefore(nodes[2]);
    EXPECT_EQ(order(root), "ABTCD");
    nodes[0]->unlink();
    EXPECT_EQ(order(root), "BTCD");
    nodes[0]->moveBehind(nodes[4]);
    EXPECT_EQ(order(root), "BTCDA");
    t->unlink();
    delete t;
    EXPECT_EQ(order(root), "BCDA");
}

TEST(Tree, DeletingTheRootDeletesAll) {
    std::vector<std::string> died;
    {
        auto* root = new Node("root");
        for (const char* name : {"a", "b"}) {
            auto* child = new Node(name);
            child->died = &died;
            child->add(new Node("x"));
            static_cast<Node*>(child->getFirstChild())->died = &died;
            root->add(child);
        }
        delete root;
    }
    EXPECT_EQ(died.size(), 4u);
}

TEST(Object, ClassNamesDoubleBitByBit) {
    EXPECT_STREQ(AM_classNames[0], "AudioMan");
    EXPECT_STREQ(AM_classNames[9], "ViewObject");
    EXPECT_EQ(1u << 9, k_classViewObject);
    EXPECT_STREQ(AM_classNames[15], "ViewSceneObject");
    EXPECT_STREQ(AM_classNames[16], "");
}
