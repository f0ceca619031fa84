#include "core/tree/BBank.h"

#include "soak/models/Model.h"

#include <algorithm>
#include <memory>
#include <string>

namespace {

using Text = std::u16string;

/// A node of the twin. It knows the one of the library, which the tree keeps.
struct Node {
    Text text;
    BNode* ours = nullptr;
    Node* parent = nullptr;
    SP<BSmartObj> object{};
    std::vector<std::unique_ptr<Node>> children{};
};

/// Names are ASCII, or equal only to themselves.
Text Low(Text text)
{
    for (char16_t& unit : text)
        unit = static_cast<char16_t>(unit >= 'A' && unit <= 'Z' ? unit + 32 : unit);
    return text;
}

std::vector<Text> Names(const Text& path)
{
    std::vector<Text> names(1);
    for (const char16_t unit : path) {
        if (unit == '/')
            names.emplace_back();
        else
            names.back() += unit;
    }
    return names;
}

Text WithoutFirstSeparator(const Text& path)
{
    return path.starts_with(u'/') ? path.substr(1) : path;
}

bool IsName(const Text& name)
{
    return !name.empty() && name.find_first_not_of(u"0123456789abcdefghijklmnopqrstuvwxyz"
                                                   u"ABCDEFGHIJKLMNOPQRSTUVWXYZ_-.") == Text::npos;
}

bool HasError(const Text& path)
{
    if (path == u"//" || path == u"/")
        return false;
    return !std::ranges::all_of(Names(WithoutFirstSeparator(path)), IsName);
}

Node* Child(Node& node, const Text& name)
{
    const auto found = std::ranges::find_if(
        node.children, [&](const auto& child) { return Low(child->text) == Low(name); });
    return found != node.children.end() ? found->get() : nullptr;
}

Text PathOf(const Node* top, const Node* node)
{
    Text path;
    for (; node != top; node = node->parent)
        path = u'/' + node->text + path;
    return path.empty() ? u"//" : path;
}

Text SomeName(std::uint32_t number)
{
    const char16_t* const names[] = {u"a",  u"b", u"A",   u"001", u"002",    u"x.1",
                                     u"_-", u"B", u"a b", u"",    u"\u00E4", u"n"};
    const Text name = names[number % (number % 5 == 0 ? 12 : 8)];
    return name != u"n" ? name : name + names[3 + number / 12 % 2] + names[number / 24 % 3];
}

Text SomePath(std::uint32_t number, std::uint32_t names)
{
    const char16_t* const special[] = {u"", u"/", u"//", u"///", u"//a", u"a/"};
    if (number % 8 == 7)
        return special[names % 6];
    Text path = number % 8 < 4 ? u"/" : u"";
    for (std::uint32_t i = number / 8 % 4 + 1; i > 0; --i, names /= 128)
        path += SomeName(names % 128) + (i > 1 ? u"/" : u"");
    return path;
}

struct World {
    SP<BNode> root = new BNode;
    BBank ours{root};
    Node twin{u"", root.Get()};

    void CompareBelow(const Node& node)
    {
        Same("children", node.ours->ChildNum(), static_cast<int>(node.children.size()));
        Same("text", node.ours->GetText().AsView() == node.text, true);
        Same("object", node.ours->GetObj() == node.object.Get(), true);
        Same("Path", ours.Path(node.ours).AsView() == PathOf(&twin, &node), true);
        for (std::size_t i = 0; i < node.children.size(); ++i) {
            Same("child", node.ours->Child(static_cast<int>(i)) == node.children[i]->ours, true);
            CompareBelow(*node.children[i]);
        }
    }
    void Compare(bool whole)
    {
        if (whole)
            CompareBelow(twin);
    }

    Node* FindBelow(const Text& path)
    {
        if (path == u"//")
            return &twin;
        const std::size_t start = path.find_first_not_of(u'/');
        Node* node = &twin;
        for (const Text& name : Names(start == Text::npos ? Text() : path.substr(start)))
            if (node != nullptr)
                node = Child(*node, name);
        return node;
    }
    /// The n-th of all nodes.
    Node& At(std::uint32_t number)
    {
        std::vector<Node*> nodes{&twin};
        for (std::size_t i = 0; i < nodes.size(); ++i)
            for (const auto& child : nodes[i]->children)
                nodes.push_back(child.get());
        return *nodes[number % nodes.size()];
    }
    Node* Add(Node& parent, const Text& name)
    {
        parent.children.push_back(std::make_unique<Node>(Node{name, nullptr, &parent}));
        Node* const made = parent.children.back().get();
        made->ours = parent.ours->Child(parent.ours->ChildNum() - 1);
        return made;
    }
    /// What `Container` makes; call it when the library has made it.
    Node* Make(const Text& path)
    {
        if (path == u"//")
            return &twin;
        if (path.empty() || path == u"/")
            return nullptr;
        Node* node = &twin;
        for (const Text& name : Names(WithoutFirstSeparator(path))) {
            if (!IsName(name))
                return nullptr;
            Node* const present = Child(*node, name);
            if (present == nullptr) {
                Same("made", node->ours->ChildNum() > static_cast<int>(node->children.size()),
                     true);
                node = Add(*node, name);
            } else {
                node = present;
            }
        }
        return node;
    }
    static bool SamePath(const WString& ours, const Text& path) { return ours.AsView() == path; }
};

const Operation<World> kTable[] = {
    {"Container", 12,
     [](World& world, const Step& step) {
         const Text path = SomePath(step.a, step.b);
         BNode* const node = world.ours.Container(path.c_str());
         const Node* const twin = world.Make(path);
         Same("container", node == (twin != nullptr ? twin->ours : nullptr), true);
     }},
    {"Node", 6,
     [](World& world, const Step& step) {
         const Text path = SomePath(step.a, step.b);
         Node* const present = world.FindBelow(path);
         BNode* const node = world.ours.Node(path.c_str());
         if (present == nullptr) {
             const Node* const twin = world.Make(path);
             Same("node", node == (twin != nullptr ? twin->ours : nullptr), true);
         } else if (present->object) {
             Same("node", node == present->ours, true);
         } else {
             for (std::size_t number = present->children.size() + 1;; ++number) {
                 const std::string digits = std::to_string(number);
                 Text name(digits.begin(), digits.end());
                 name.insert(0, name.size() < 3 ? 3 - name.size() : 0, u'0');
                 if (Child(*present, name) != nullptr)
                     continue;
                 Same("node", node == world.Add(*present, name)->ours, true);
                 return;
             }
         }
     }},
    {"ExistsContainer", 8,
     [](World& world, const Step& step) {
         const Text path = SomePath(step.a, step.b);
         const Node* const twin = world.FindBelow(path);
         SP<BNode> node;
         Same("exists", world.ours.ExistsContainer(path.c_str(), node), twin != nullptr);
         Same("exists", world.ours.ExistsContainer(path.c_str()), twin != nullptr);
         Same("node", node == (twin != nullptr ? twin->ours : nullptr), true);
     }},
    {"SetObj", 4,
     [](World& world, const Step& step) {
         Node& node = world.At(step.a);
         node.object = step.b % 3 == 0   ? nullptr
                       : step.b % 3 == 1 ? new BSmartObj
                                         : world.At(step.c).object.Get();
         node.ours->SetObj(node.object.Get());
     }},
    {"PathOfObject", 2,
     [](World& world, const Step& step) {
         const SP<BSmartObj> object = world.At(step.a).object;
         // The first in pre-order.
         const auto find = [&object](const auto& self, const Node& node) -> const Node* {
             if (node.object && node.object == object)
                 return &node;
             for (const auto& child : node.children)
                 if (const Node* const found = self(self, *child))
                     return found;
             return nullptr;
         };
         const Node* const twin = find(find, world.twin);
         const Text path = twin != nullptr ? PathOf(&world.twin, twin) : Text();
         Same("path", World::SamePath(world.ours.PathOfObject(object.Get()), path), true);
         if (object)
             Same("path", World::SamePath(world.ours.PathOfObject(object->UniqueID()), path), true);
     }},
    {"PATH, and from elsewhere", 4,
     [](World& world, const Step& step) {
         const Node& node = world.At(step.a);
         const Node& top = world.At(step.b);
         Same("PATH", World::SamePath(BBank::PATH(node.ours), PathOf(&world.twin, &node)), true);
         const Node* above = &node;
         while (above != nullptr && above != &top)
             above = above->parent;
         const BBank other(top.ours);
         Same("Path",
              World::SamePath(other.Path(node.ours),
                              above != nullptr ? PathOf(&top, &node) : Text()),
              true);
     }},
    {"SetText", 2,
     [](World& world, const Step& step) {
         Node& node = world.At(step.a); // perhaps to a text that no bank makes, or to a sister's
         node.text = SomeName(step.b);
         node.ours->SetText(node.text.c_str());
     }},
    {"remove", 3,
     [](World& world, const Step& step) {
         Node& node = world.At(step.a);
         Node* const parent = node.parent;
         if (parent == nullptr)
             return;
         Same("removed", parent->ours->RemoveChild(node.ours), true);
         std::erase_if(parent->children, [&](const auto& child) { return child.get() == &node; });
     }},
    {"PathSyntaxError, CheckName", 4,
     [](World&, const Step& step) {
         const Text path = SomePath(step.a, step.b);
         Same("error", BBank::PathSyntaxError(path.c_str()), HasError(path));
         const Text name = SomeName(step.b);
         Same("name", BBank::CheckName(name.c_str()), IsName(name));
     }},
    {"ConcatPath", 4,
     [](World&, const Step& step) {
         const Text base = SomePath(step.a, step.b);
         const Text rel = SomePath(step.c, step.b / 3);
         Text path = base == u"//" ? Text() : base;
         path += (rel.starts_with(u'/') ? u"" : u"/") + rel;
         if (HasError(base) || HasError(rel) || rel == u"//")
             path.clear();
         Same("path", World::SamePath(BBank::ConcatPath(base.c_str(), rel.c_str()), path), true);
     }},
    {"ParentPath", 3,
     [](World&, const Step& step) {
         const Text path = SomePath(step.a, step.b);
         WString parent = QD_W("before");
         const bool hasParent = !path.empty() && path != u"//";
         Same("has one", BBank::ParentPath(path.c_str(), parent), hasParent);
         const std::size_t last = path.rfind(u'/');
         Text expected = hasParent ? path.substr(0, last == Text::npos ? 0 : last) : u"before";
         expected = expected.empty() ? u"//" : expected;
         Same("parent", World::SamePath(parent, expected), true);
     }},
    {"IsGrandParent", 3,
     [](World&, const Step& step) {
         const Text upper = SomePath(step.a, step.b);
         const Text lower = SomePath(step.c, step.b);
         const auto names = [](const Text& path) {
             const bool isNone = path == u"//" || path == u"/" || path.empty();
             return isNone ? std::vector<Text>() : Names(WithoutFirstSeparator(path));
         };
         const auto above = names(upper);
         const auto below = names(lower);
         const bool isPath = !upper.empty() && upper != u"/";
         const bool isAbove =
             isPath && above.size() < below.size() &&
             std::equal(above.begin(), above.end(), below.begin(),
                        [](const Text& a, const Text& b) { return Low(a) == Low(b); });
         Same("above", BBank::IsGrandParent(upper.c_str(), lower.c_str()), isAbove);
     }},
};

} // namespace

Subject BankModel()
{
    return MakeSubject("bank", kTable);
}
