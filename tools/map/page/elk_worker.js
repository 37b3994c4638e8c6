/**
 * ELK's worker. It starts while the browser still reads the data behind it: this is no module, for
 * modules wait until the page is whole.
 */
function startElkWorker() {
  const program = new Blob([document.getElementById("elk-worker").textContent], { type: "text/javascript" });
  return new Worker(URL.createObjectURL(program));
}

const firstElkWorker = startElkWorker();
