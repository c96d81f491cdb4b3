// A job type of Flamenco 3: put this file into the folder "scripts" beside the manager. It makes a task for each chunk of
// a scene's frames, and after them one for a contact sheet.
const JOB_TYPE = {
    label: "Nimbrel frames",
    description: "Frames of a scene by nimbrel-render",
    settings: [
        { key: "scene", type: "string", subtype: "file_path", required: true, description: "scene file" },
        { key: "output", type: "string", required: true, description: "pattern of the frames, such as /shots/a/out/a.####.png" },
        { key: "frames", type: "string", required: true, default: "0-47", description: "frames to render, such as 0-47 or 1,5,9-20" },
        { key: "chunk_size", type: "int32", default: 8, description: "frames of a task" },
        { key: "cores", type: "int32", default: 0, description: "processors of a task; 0 for all that it may use" },
    ],
};

function compileJob(job) {
    const settings = job.settings;
    const cores = settings.cores > 0 ? ["--cores", String(settings.cores)] : [];
    const tasks = frameChunker(settings.frames, settings.chunk_size).map(function (chunk) {
        const task = author.Task("render-" + chunk, "misc");
        task.addCommand(author.Command("exec", {
            exe: "nimbrel-render",
            args: [settings.scene, "--frames", chunk, "--output", settings.output, "--skip-existing", "--log", "lines"].concat(cores),
        }));
        job.addTask(task);
        return task;
    });
    if (!settings.output.endsWith(".png")) return;
    const folder = settings.output.split("/").slice(0, -1).join("/") || ".";
    const sheet = author.Task("sheet", "misc");
    sheet.addCommand(author.Command("exec", {
        exe: "bash",
        args: ["-c", 'cd "$1" && rm -f sheet.png && nimbrel-contact-sheet *.png --columns 8 -o sheet.png', "sheet", folder],
    }));
    tasks.forEach(function (task) { sheet.addDependency(task); });
    job.addTask(sheet);
}
