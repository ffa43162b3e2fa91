import { App } from "./app";
import { defineElements } from "./elements/elements";

defineElements();
new App(document.body).start();
