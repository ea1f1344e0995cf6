import "@xterm/xterm/css/xterm.css";
import "./styles/tokens.css";
import "./styles/layout.css";
import "./styles/sidebar.css";
import "./styles/workspace.css";
import "./styles/overlays.css";
import { render } from "preact";
import { App } from "./components/app";
import { listenToShortcuts } from "./keyboard";
import { announceMachines } from "./live/announce_machines";
import { followServer } from "./live/live_feed";
import { openScriptingDoor } from "./scripting";

openScriptingDoor();
listenToShortcuts();
announceMachines();
followServer();
render(<App />, document.body);
