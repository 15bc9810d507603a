// The description of `dravin instantiate`.
#include "apps/dravin/command_line.h"

void CommandLine::AddInstantiate() {
    InstantiateOptions& o = m_instantiate;
    CLI::App* c =
        Add("instantiate", "write a scene in which items are objects of their own",
            "  dravin instantiate wood.json -o trees.json\n"
            "  dravin instantiate wood.json --hierarchy layer --layer trees -o trees.json\n"
            "  dravin instantiate trees.json --delete -o wood2.json",
            [&o] { return RunInstantiate(o); });
    c->add_option("scene", o.scene, "scene description")->required()->type_name("SCENE");
    c->add_option("-o,--output", o.output, "the new scene")->required()->type_name("OUT");
    c->add_option("--object", o.object, "only the scatter object of this name")->type_name("NAME");
    const std::map<std::string, int> kinds{{"individual", 0}, {"group", 1}, {"layer", 2}};
    c->add_option("--hierarchy", o.hierarchy,
                  "individual objects (the default), one group or one layer")
        ->transform(CLI::CheckedTransformer(kinds).description(""))
        ->type_name("individual|group|layer");
    c->add_option("--layer", o.layer, "name of the layer (default: dravin_instances)")
        ->type_name("NAME");
    c->add_flag("--no-freeze", o.noFreeze, "do not freeze the layer");
    c->add_flag("--keep-old", o.keepOld, "keep the objects of an earlier run");
    c->add_flag("--keep-geometry", o.keepGeometry,
                "leave the geometry rows enabled whose items became objects");
    c->add_flag("--no-enable", o.noEnable,
                "do not enable disabled geometry rows with an object before");
    c->add_flag("--delete", o.deleteOnly,
                "delete the objects of an earlier run and enable the geometry rows again");
}
