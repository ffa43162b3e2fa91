// Says whether the gateway answers.
const socket = new WebSocket(`${location.protocol === "https:" ? "wss" : "ws"}://${location.host}/station`, "dorn.1");
const main = document.querySelector("main");
socket.addEventListener("message", (event: MessageEvent<string>) => {
  if (main !== null) main.textContent = String(event.data);
});
