// What users can do to a scene and its scatter objects, by name: one table that the command line
// (`dravin edit`), Python (`scene.run`), tests and the desktop's menus share.
//
// A command says what it works on, which arguments it takes and what they mean; the table checks a
// call against that, so that a command finds its arguments present and of the right kind. Commands
// ask and tell through the user-interface port of the session, and record undo steps. One thread.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/math/point.h"
#include "host/params/param_assign.h"

class INode;
class Scene;
class TCommandTable;
class TDravin;

// Kinds of arguments. A number stands for a list of one, and kValue is anything.
enum class TArgumentKind {
    kBool,
    kInteger,
    kReal,
    kText,
    kPoint,
    kIntegers,
    kReals,
    kTexts,
    kValue
};

struct TArgumentInfo {
    std::string name;  // lower case, words joined by "_"
    TArgumentKind kind = TArgumentKind::kText;
    std::string meaning;  // units and range included
    bool isRequired = false;
    std::vector<std::string> choices = {};  // of kText: nothing else is taken
};

// What a command works on.
enum class TCommandTarget {
    kScene,   // the scene as a whole
    kNode,    // a node, which the call names
    kObject,  // a scatter object: the one that the call names, or the only one
};

// By name. Numbers are int64_t or double, points arrays of three numbers.
using TArguments = std::map<std::string, ParamInput>;

struct TCommandResult {
    std::string error;  // empty: done
    ParamInput value;   // what the command gives back, null for nothing
    std::vector<std::string> warnings;

    TCommandResult() = default;
    static TCommandResult Error(std::string text);
    static TCommandResult Value(ParamInput value);
    explicit operator bool() const { return error.empty(); }
};

// One call: what it works on, and its arguments, checked. A missing argument has the value given.
class TCommandCall {
public:
    Scene& scene;
    INode* node = nullptr;      // of kNode and kObject
    TDravin* object = nullptr;  // of kObject

    bool Has(std::string_view name) const { return Find(name) != nullptr; }
    bool Bool(std::string_view name, bool missing = false) const;
    int Int(std::string_view name, int missing = 0) const;
    double Real(std::string_view name, double missing = 0) const;
    std::string Text(std::string_view name, const std::string& missing = {}) const;
    Point3 Point(std::string_view name, const Point3& missing = {}) const;
    std::vector<int> Ints(std::string_view name) const;  // empty when missing
    std::vector<double> Reals(std::string_view name) const;
    std::vector<std::string> Texts(std::string_view name) const;
    ParamInput Value(std::string_view name) const;  // null when missing

private:
    friend class TCommandTable;
    TCommandCall(Scene& callScene, const TArguments& arguments)
        : scene(callScene), m_arguments(arguments) {}
    const ParamInput* Find(std::string_view name) const;

    const TArguments& m_arguments;
};

struct TCommand {
    std::string name;     // "items.move": a topic and what is done
    std::string label;    // of menus and of the undo step; empty: the command names its own steps
    std::string meaning;  // a sentence
    TCommandTarget target = TCommandTarget::kObject;
    std::vector<TArgumentInfo> arguments;
    // With a label, an error takes back whatever the command has changed.
    std::function<TCommandResult(TCommandCall&)> run;
    // Whether it can be done now; none: always. A call meanwhile is an error.
    std::function<bool(const TCommandCall&)> isEnabled = {};
};

class TCommandTable {
public:
    // The name must be new.
    void Add(TCommand command);
    // By name, in alphabetic order.
    const std::map<std::string, TCommand>& All() const { return m_commands; }
    const TCommand* Find(const std::string& name) const;

    // Runs a command on the node `target` (empty: the only scatter object, where one is wanted).
    // Errors name the command, the argument and the nearest name that exists.
    TCommandResult Run(const std::string& name, Scene& scene, const std::string& target,
                       const TArguments& arguments) const;
    // Whether it could be run with these now; false also where Run would refuse the arguments.
    bool IsEnabled(const std::string& name, Scene& scene, const std::string& target,
                   const TArguments& arguments = {}) const;

private:
    // Null with the reason in `error`.
    const TCommand* Prepare(const std::string& name, const std::string& target, TCommandCall& call,
                            std::string* error) const;

    std::map<std::string, TCommand> m_commands;
};

// "items.move by=[1,2,3]": what a kind is called in help texts.
std::string_view ArgumentKindName(TArgumentKind kind);
