#include "host/options/commandoptions.h"

#include "host/files/derivedkinds.h"
#include "host/options/optionchecks.h"

namespace Host
{

namespace
{

constexpr const char* PLATFORMS[] = {"pc", "durango", "ps4", "xbox360", "ps3"};

constexpr const char EXAMPLES[] = R"(
Examples:
  animpack build -t:pc -t:ps4 --assets art --out packed
  animpack pack 'assembly:/characters/hero/moves.fbx?/walk.take' animation -t:pc
  animpack query --where 'ACD_TotalLinearDelta>1.5' --name 'walk*'
  animpack inspect packed/pc/characters/hero/moves.fbx/walk.take.animation --frames 0,10
  animpack verify --assets art --out packed --max-mm 0.5
  animpack scene art/characters/hero/moves.fbx

A source is an identifier (assembly:/a/b.fbx, assembly:/a/b.fbx?/walk.take) or the path of a file in the asset tree.

Exit status: 0 all done; 1 at least one asset failed (the others are done); 2 wrong usage; 3 the host could not go on.
)";

/// Of each command: what help shows behind its options, and a reader tries first.
constexpr struct
{
    const char* szCommand;
    const char* szExamples;
} COMMAND_EXAMPLES[] = {
    {"scan", "  animpack scan --assets art --out packed\n"
             "  animpack scan characters/hero/moves.fbx --assets art -v\n"},
    {"pack", "  animpack pack 'assembly:/characters/hero/moves.fbx?/walk.take' animation -t:pc\n"
             "  animpack pack 'assembly:/props/door.fbx?/open.take' animation "
             "--param 'assembly:/props/door.rig.fbx?/door.rig'\n"
             "  animpack pack 'assembly:/characters/hero/hero.rig.fbx?/hero.rig' rigxml\n"},
    {"build", "  animpack build -t:pc -t:ps4 --assets art --out packed\n"
              "  animpack build art/characters 'assembly:/props/lever.fbx?/pull.take' --assets art\n"},
    {"inspect", "  animpack inspect packed/pc/characters/hero/moves.fbx/walk.take.animation --frames 0,10\n"
                "  animpack inspect 'assembly:/characters/hero/moves.fbx?/walk.take' --out packed --json\n"},
    {"stats", "  animpack stats --out packed --top 20\n"
              "  animpack stats --out packed -t:pc --save assembly:/stats/memory.txt\n"},
    {"verify", "  animpack verify --assets art --out packed --max-mm 0.5\n"
               "  animpack verify characters/hero/moves.fbx --assets art --out packed -t:pc\n"},
    {"scene", "  animpack scene art/characters/hero/moves.fbx\n"
              "  animpack scene art/characters/hero/moves.fbx --stack Take_001 --at 0,0.5 --json\n"},
    {"export",
     "  animpack export assembly:/characters/hero/moves.fbx --assets art -o hero.glb\n"
     "  animpack export 'assembly:/characters/hero/moves.fbx?/walk.take' --source --assets art -o walk.glb\n"},
    {"view", "  animpack view --assets art -o art.html\n"
             "  animpack view characters/hero --assets art --out packed -o hero.html\n"},
    {"effect", "  animpack effect effects/glow.fx -I effects/shared -D SHADOWS=1\n"},
    {"diff", "  animpack diff packed.before packed\n"
             "  animpack diff before/walk.take.animation packed/pc/characters/hero/moves.fbx/walk.take.animation\n"},
    {"plan", "  animpack plan --format ninja --assets art --out packed -o build.ninja\n"
             "  animpack plan --format slurm -n 16 --assets art --out packed -o build.sh\n"},
    {"mark", "  animpack mark downloads/run.fbx run.marks.json art/characters/hero/run.fbx\n"},
};

constexpr const char QUERY_HELP[] = R"(
Conditions:
  = != < <= > >=    as numbers when both sides are numbers, else as texts, whose case does not matter
  ~ !~              like a pattern, unlike it: * any text, ? a character, [a-z] one of a set
  An entry that lacks the property meets no condition on it. id, name, kind and source count as properties.

Examples:
  animpack query --where 'FPS=30' --where 'ACD_TotalLinearDelta>1.5'
  animpack query --name 'walk*' --source npc/ --columns DurationSeconds,CutsequenceRigResource
  animpack query --kind character --uses '*/idle.take'

The index is the one in --out, which scan and build keep.
)";

constexpr const char ASSETS_HELP[] =
    "Folder behind assembly:/ [default: ./assembly if it is there, else the current folder]";

constexpr const char VERIFY_HELP[] = R"(
Every bone of the rig at every frame of the take, as the character sees it: what the packed file decodes to, beside what
the scene says. Millimetres are the way between points 3 cm from the bone along each of its axes.

A bone below the ground that moves in the scene and not in the packed file is an error, whether or not the rig has it: its
motion was lost. Partial takes, helper bones and scale are left out on purpose.
)";

constexpr const char EXPORT_HELP[] = R"(
Metres, Y up and front +Z as glTF has it: (x, y, z) of the packed file is (x, z, -y) here. Each take is an animation with a
key a frame; the ground's bone carries the way that the character goes. Takes of one rig share its bones, several rigs stand
side by side. Animated properties and events are in the extras of their animation.
)";

constexpr const char VIEW_HELP[] = R"(
One file that needs no network: the character in 3D, its bones coloured by how far they are from what the scene says, which
stands around them; a list of all takes with what is wrong with them; every bone's tracks and errors, and curves over time.
A take whose source is gone is shown without it, and told.
)";

constexpr const char ADOPT_HELP[] = R"(
Writes FOLDER/NAME.rig.fbx, and FOLDER/NAME_STACK.fbx for each animated stack with a take over all of it: plain nodes in
centimetres without namespaces or scale, one key a frame. The files named are only read. docs/adopting.md tells more.

Examples:
  animpack adopt ~/Downloads/hero.fbx --assets art
  animpack adopt hero.fbx hero_walk.fbx hero_run.fbx --to characters/hero --name hero
)";

std::string DerivedKindsHelp()
{
    std::string sText = "\nExtensions:\n";
    for (const SDerivedKind& kind : DerivedKinds())
        if (!kind.component.empty())
            sText += "  " + std::string(kind.extension) + std::string(20 - kind.extension.size(), ' ') +
                     std::string(kind.description) + '\n';
    return sText;
}

void AddOutputOptions(CLI::App& command, SOptions& options, SRawOptions& raw)
{
    command.add_flag("--json", options.bJson, "One JSON object a line on standard output, and nothing else there")
        ->group("Messages");
    command.add_flag("-v,--verbose", options.bVerbose, "Tell what is up to date, and the packers' notes")
        ->group("Messages");
    for (const auto& [szName, pText] : {std::pair("--color", &raw.sColor), std::pair("--progress", &raw.sProgress)})
        command.add_option(szName, *pText, "auto: on a terminal, and colour only without NO_COLOR")
            ->check(OneOf({"auto", "always", "never"}))
            ->capture_default_str()
            ->group("Messages");
}

void AddLogOptions(CLI::App& command, SOptions& options)
{
    command.add_flag("-q,--quiet", options.bQuiet, "Tell people of errors alone")->group("Messages");
    command
        .add_option("--log", options.sLogFile,
                    "Write all that could be told to this file too, notes and reasons included")
        ->group("Messages");
}

void AddPlatformOption(CLI::App& command, SOptions& options, const std::string& sDefault)
{
    command
        .add_option("-t,--target", options.platforms,
                    "Platform, also -t:NAME; several with commas or repeated [default: " + sDefault + ']')
        ->delimiter(',')
        ->allow_extra_args(false)
        ->check(OneOf({std::begin(PLATFORMS), std::end(PLATFORMS)}));
}

void AddTreeOptions(CLI::App& command, SOptions& options)
{
    command.add_option("--assets", options.session.sAssets, ASSETS_HELP);
    command.add_option("--out", options.session.sOut, "Folder for everything that is written")->capture_default_str();
    AddPlatformOption(command, options, "pc");
}

void AddWorkerOptions(CLI::App& command, SOptions& options, SRawOptions& raw)
{
    command.add_option("-j,--jobs", options.session.nWorkers, "Worker processes [default: one for each core]")
        ->check(CLI::Range(1u, 1024u))
        ->group("Work");
    command
        .add_option("--job-timeout", options.session.fJobTimeout,
                    "Seconds without a sign of life after which a job is ended")
        ->check(NotNegative())
        ->capture_default_str()
        ->group("Work");
    command.add_option("--memory-limit", raw.nMemoryMegabytes, "Megabytes that one worker may take; 0 for no limit")
        ->check(CLI::Range(uint64_t(0), uint64_t(1) << 24))
        ->capture_default_str()
        ->group("Work");
}

/// Of commands that look at what is packed.
void AddPackedOptions(CLI::App& command, SOptions& options, SRawOptions& raw, const std::string& sPlatforms)
{
    command.add_option("--assets", options.session.sAssets, ASSETS_HELP);
    command.add_option("--out", options.session.sOut, "Folder of the packed animations")->capture_default_str();
    AddPlatformOption(command, options, sPlatforms);
    AddWorkerOptions(command, options, raw);
}

void AddWorkOptions(CLI::App& command, SOptions& options, SRawOptions& raw)
{
    AddWorkerOptions(command, options, raw);
    command
        .add_option("--module", options.session.sModule,
                    "Module to load [default: ../lib/libresource.animation.so beside this program]")
        ->group("Work");
}

void AddQueryOptions(CLI::App& command, SOptions& options)
{
    SQuestion& query = options.query;
    const auto list = [&command](const char* szName, std::vector<std::string>& words, const char* szWhat)
    { return command.add_option(szName, words, szWhat)->allow_extra_args(false); };
    list("-w,--where", query.conditions,
         "Only entries for which NAME OPERATOR VALUE holds, such as 'FPS=30'; repeated, all have to hold");
    list("-n,--name", query.names, "Only entries of this name, such as 'walk*'; repeated, any will do");
    list("--source", query.sources, "Only what is in these sources, such as 'assembly:/npc/*'");
    list("--uses", query.uses, "Only what refers to such a resource, such as '*/idle.take'");
    list("--kind", query.kinds, "Only take, rig, character or source [default: all but source]")
        ->delimiter(',')
        ->check(OneOf({"take", "rig", "character", "chartype", "source"}));
    list("--columns,--show", query.columns, "Properties to show, separated by commas")->delimiter(',');
    command.add_option("--sort", query.sSort, "Order by this property [default: by identifier]");
    command.add_flag("--reverse", query.bReverse, "The other way round");
    command.add_option("--limit", query.nLimit, "Show so many")->check(CLI::Range(size_t(1), size_t(1) << 32));
    command.add_flag("--scan", options.bScanFirst, "Bring the index up to date first");
    command.footer(QUERY_HELP);
}

} // namespace

void AddCommands(CLI::App& app, SOptions& options, SRawOptions& raw)
{
    app.footer(EXAMPLES);
    const auto add = [&](const char* szName, const char* szWhat)
    {
        CLI::App* pCommand = app.add_subcommand(szName, szWhat);
        AddOutputOptions(*pCommand, options, raw);
        return pCommand;
    };
    CLI::App* pScan = add("scan", "Tell what sources hold: takes, rigs, characters; keeps an index of it in --out");
    pScan->add_option("SOURCE", options.sources, "Sources or folders [default: the whole tree]");

    pScan->add_flag("--scandata", options.bScanData,
                    "Write what each source holds as scan data, the blob that hosts exchange, to scan/ in --out");

    CLI::App* pPack = add("pack", "Make one packed resource, and what it needs; print its file");
    pPack->add_option("SOURCE", raw.sSource, "What to pack")->required();
    pPack->add_option("EXTENSION", options.sExtension, "What to make of it, see below")->required();
    pPack
        ->add_option("--param", options.parameters,
                     "Parameter of the packed resource, such as the rig of an animation; may be repeated")
        ->allow_extra_args(false);
    pPack->add_flag("--force", options.session.bForce, "Pack also what is up to date");
    pPack
        ->add_option("--depfile", options.sDepFile,
                     "Write the files that were read to this one, as make and ninja read it; of a file that was looked "
                     "for in vain, its folder")
        ->group("For other builders");
    pPack
        ->add_flag("--no-state", options.session.bNoState,
                   "Neither ask nor keep the build state and its lock; a file whose bytes are the same is left alone")
        ->group("For other builders");
    pPack
        ->add_option("--standing", options.session.standing,
                     "Packed resources of this extension stand in --out or are missing: they are not made here")
        ->allow_extra_args(false)
        ->group("For other builders");
    pPack
        ->add_option(
            "--beside", options.sBeside,
            "Files of the source's name that stand beside it, with commas: whoever writes this command sees to "
            "them, so the depfile does not name their folder")
        ->allow_extra_args(false)
        ->group("For other builders");
    AddLogOptions(*pPack, options);
    pPack->footer(DerivedKindsHelp());

    CLI::App* pBuild = add("build", "Make everything that scanning finds, for each platform; only what changed");
    pBuild->add_option("SOURCE", options.sources, "Sources or folders [default: the whole tree]");
    pBuild->add_flag("--force", options.session.bForce, "Pack also what is up to date");

    pBuild->add_flag("--dry-run", options.bForesee, "Only tell what would be packed or removed, and why");
    pBuild->add_flag("--explain", options.bExplain, "Tell of each job why it ran");
    pBuild
        ->add_option("--farm", options.sStage,
                     "Do one stage of a build in shares, as 'animpack plan --format slurm' has planned it")
        ->check(OneOf({"rigs", "gather", "takes", "finish"}))
        ->group("For other builders");
    pBuild->add_option("--share", options.nShare, "The share that a stage is done of")
        ->check(CLI::Range(1u, 1000000u))
        ->group("For other builders");
    pBuild->add_flag("--watch", options.bWatch, "Build again whenever files of the tree change, until Ctrl-C")
        ->excludes("--dry-run");
    AddLogOptions(*pBuild, options);

    CLI::App* pDiff = add("diff", "Compare two packed files, or two output folders: bytes, and millimetres of motion");
    pDiff->add_option("A", raw.sMarks, "A packed file, or an output folder")->required();
    pDiff->add_option("B", raw.sMarked, "What to compare it with")->required();
    pDiff->footer("\nEnds with 0 when nothing is different, with 1 when anything is.");

    CLI::App* pPlan = add("plan", "Write what a build does as a manifest for another builder");
    pPlan
        ->add_option("--format", options.sFormat,
                     "ninja: a manifest with an edge for each packed resource; slurm: a script that builds in shares")
        ->required()
        ->check(OneOf({"ninja", "slurm"}));
    pPlan->add_option("-n,--shares", options.nShares, "Of slurm: into how many shares the tree is divided")
        ->check(CLI::Range(1u, 1000000u));
    pPlan->add_option("-o,--output", options.sOutput, "File to write [default: standard output]");

    CLI::App* pQuery = add("query", "Find takes, rigs and characters by what scanning found in them");
    AddQueryOptions(*pQuery, options);

    CLI::App* pInspect = add("inspect", "Show what a packed file holds, from its header to its tracks");
    pInspect->add_option("FILE", raw.sSource, "A packed file, or the identifier of a packed resource")->required();
    pInspect->add_option("--frames", raw.sFrames, "Decode these frames against the rig, e.g. 0,10");

    CLI::App* pStats = add("stats", "Memory that the packed animations in --out take");
    pStats->add_option("--save", options.sSaveId,
                       "Write the report as this resource, e.g. assembly:/stats/memory.txt, one for each platform");
    pStats->add_option("--top", options.nTop, "List so many of the largest animations")
        ->check(NotNegative())
        ->capture_default_str();
    pStats->add_option("--assets", options.session.sAssets, "Of no effect here: packed files tell all");
    pStats->add_option("--out", options.session.sOut, "Folder of the packed animations")->capture_default_str();
    AddPlatformOption(*pStats, options, "all that are there");

    CLI::App* pVerify = add("verify", "Compare packed animations with their sources: what packing them has cost");
    pVerify->add_option("ID", options.sources,
                        "Packed animations, their files, or takes, scenes and folders that they are made of "
                        "[default: all packed animations in --out]");
    pVerify->add_option("--max-mm", options.fMaxMillimetres, "An animation that is further off fails")
        ->check(NotNegative());
    pVerify
        ->add_option("--max-degrees", options.fMaxDegrees, "An animation of which a bone is turned further off fails")
        ->check(NotNegative());
    AddPackedOptions(*pVerify, options, raw, "all that are there");
    pVerify->footer(VERIFY_HELP);

    CLI::App* pExport = add("export", "Write packed takes as glTF 2.0, which viewers, engines and DCC tools open");
    pExport->add_option("ID", options.sources, "Takes, their files, folders, or packed files")->required();
    pExport->add_option("-o,--output", options.sOutputFile, "The .glb file to write")->required();
    pExport->add_flag("--source", options.bSource, "What the scene says instead of what was packed");
    pExport->footer(EXPORT_HELP);
    AddPackedOptions(*pExport, options, raw, "pc if that is there");

    CLI::App* pView = add("view", "Make a page that plays packed takes over their sources, in any browser");
    pView->add_option("ID", options.sources, "Takes, their files, folders, or packed files [default: all]");
    pView->add_option("-o,--output", options.sOutputFile, "The page to write [default: animpack.html]");
    pView->footer(VIEW_HELP);
    AddPackedOptions(*pView, options, raw, "pc if that is there");

    CLI::App* pScene = add("scene", "Show what the reader makes of an FBX file, turned to Z up and front -Y");
    pScene->add_option("FILE", raw.sSource, "The FBX file")->required();
    pScene->add_option("--stack", options.sStack, "Evaluate this anim stack [default: the current one]");
    pScene->add_option("--at", raw.sAt, "Show transforms at these seconds, e.g. 0,0.5");
    pScene->add_option("--ticks", raw.sTicks, "The same for FBX ticks, 46186158000 a second");

    CLI::App* pEffect = add("effect", "Flatten an effect source and show what an effect compiler collects from it");
    pEffect->add_option("FILE", raw.sSource, "The effect source")->required();
    pEffect->add_option("-I,--include", options.includeFolders, "Look for includes here too; may be repeated")
        ->allow_extra_args(false);
    pEffect->add_option("-D,--define", options.defines, "NAME=VALUE, a macro that is set; may be repeated")
        ->allow_extra_args(false);
    pEffect->add_option("--compiler", options.sCompiler,
                        "Library with an effect compiler, by path or by its name beside the module "
                        "[default: samples.effectcompiler]");
    pEffect->add_option("--assets", options.session.sAssets,
                        "Folder behind assembly:/, for a FILE that is an identifier");

    CLI::App* pMark = add("mark", "Put grounds, rigs and takes on an FBX file that no exporter has marked");
    pMark->add_option("IN", raw.sSource, "An FBX file of version 7")->required();
    pMark->add_option("MARKS", raw.sMarks, "What to mark, as JSON: see docs/marking.md")->required();
    pMark->add_option("OUT", raw.sMarked, "The file to write; may be IN")->required();
    pMark->add_option("--assets", options.session.sAssets,
                      "Folder behind assembly:/ that OUT is in, so that it can be told what packing has to say "
                      "[default: ./assembly if it is there, else the current folder]");

    CLI::App* pAdopt = add("adopt", "Make characters of the asset tree from FBX files as downloaded, ready to build");
    pAdopt->add_option("FILE", options.sources, "FBX files; those of one skeleton share a rig")->required();
    pAdopt->add_option("--assets", options.session.sAssets, ASSETS_HELP);
    pAdopt->add_option("--to", options.sFolder, "Folder below --assets to write to [default: the character's name]");
    pAdopt->add_option("--name", options.sName, "The character's name [default: made of the files' names]");
    pAdopt
        ->add_option("--root", raw.sRoot,
                     "Where the way of a character goes: to a ground that follows the hips on the floor, nowhere, or "
                     "with the file's own root [default: keep where that moves, else floor]")
        ->check(OneOf({"floor", "static", "keep"}));
    pAdopt->add_flag("--keep-geometry", options.bKeepGeometry, "Meshes with skins, materials and textures come along");
    pAdopt->add_flag("--dry-run", options.bDryRun, "Tell all of it and write nothing");
    pAdopt->footer(ADOPT_HELP);

    for (const auto& examples : COMMAND_EXAMPLES)
    {
        CLI::App* pCommand = app.get_subcommand(examples.szCommand);
        pCommand->footer(pCommand->get_footer() + "\nExamples:\n" + examples.szExamples);
    }
    for (CLI::App* pCommand : {pScan, pPack, pBuild, pPlan, pQuery, pInspect, pScene})
        AddTreeOptions(*pCommand, options);
    for (CLI::App* pCommand : {pScan, pPack, pBuild, pPlan, pQuery})
        AddWorkOptions(*pCommand, options, raw);
}

} // namespace Host
