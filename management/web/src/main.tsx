import "@xterm/xterm/css/xterm.css";
import "./styles/tokens.css";
import "./styles/layout.css";
import "./styles/sidebar.css";
import "./styles/workspace.css";
import "./styles/overlays.css";
import { effect } from "@preact/signals";
import { render } from "preact";
import { App } from "./components/app";
import { listenToShortcuts } from "./keyboard";
import { announceMachines } from "./live/announce_machines";
import { followServer } from "./live/live_feed";
import { openScriptingDoor } from "./scripting";
import { selectedMachine } from "./sessions/sessions";

openScriptingDoor();
listenToShortcuts();
announceMachines();
followServer();
effect(() => {
  const name = selectedMachine.value?.name;
  document.title = name ? `${name} · RemoteAccess` : "RemoteAccess";
});
render(<App />, document.body);
