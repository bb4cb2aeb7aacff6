// The studio's page begins here.
import { render } from "preact";
import { App } from "./app.tsx";
import { connect } from "./store.ts";
import "uplot/dist/uPlot.min.css";
import "./studio.css";

const root = document.getElementById("app")!;
root.replaceChildren();
render(<App />, root);
void connect();
