// JSON with CodeMirror. Its styles live in a shadow root, since the page's policy allows none beside its own file.
import { json, jsonParseLinter } from "@codemirror/lang-json";
import { linter } from "@codemirror/lint";
import { basicSetup, EditorView } from "codemirror";
import { useEffect, useRef } from "preact/hooks";

interface CodeEditorProps {
  label: string;
  text: string;
  onChange: (text: string) => void;
}

const THEME = EditorView.theme({
  "&": { fontSize: "13px", height: "100%", color: "var(--ink)", backgroundColor: "var(--surface)" },
  ".cm-content": { caretColor: "var(--ink)" },
  ".cm-cursor": { borderLeftColor: "var(--ink)" },
  ".cm-gutters": { backgroundColor: "var(--ground)", color: "var(--muted)", borderColor: "var(--line)" },
  ".cm-activeLine, .cm-activeLineGutter": { backgroundColor: "var(--accent-soft)" },
  "&.cm-focused .cm-selectionBackground, .cm-selectionBackground": { backgroundColor: "var(--selection) !important" },
  ".cm-tooltip": { backgroundColor: "var(--surface)", color: "var(--ink)" },
  ".cm-panels": { backgroundColor: "var(--ground)", color: "var(--ink)" },
  ".cm-matchingBracket": { backgroundColor: "var(--selection) !important" },
  ".cm-line span": { color: "var(--ink)" },
});

export function CodeEditor({ label, text, onChange }: CodeEditorProps) {
  const place = useRef<HTMLDivElement>(null);
  const view = useRef<EditorView | null>(null);
  const told = useRef(onChange);
  told.current = onChange;
  useEffect(() => {
    const root = place.current!.shadowRoot ?? place.current!.attachShadow({ mode: "open" });
    const tell = EditorView.updateListener.of((update) => {
      const isPersons = update.transactions.some((one) => ["input", "delete", "undo", "redo", "move"].some((event) => one.isUserEvent(event)));
      if (update.docChanged && isPersons) told.current(update.state.doc.toString());
    });
    const editor = new EditorView({ doc: text, parent: root, root, extensions: [basicSetup, json(), linter(jsonParseLinter()), EditorView.lineWrapping, THEME, EditorView.contentAttributes.of({ "aria-label": label, tabindex: "0" }), tell] });
    view.current = editor;
    return () => editor.destroy();
  }, []);
  useEffect(() => {
    const editor = view.current;
    if (!editor || editor.state.doc.toString() === text) return;
    editor.dispatch({ changes: { from: 0, to: editor.state.doc.length, insert: text } });
  }, [text]);
  return <div class="code" ref={place} />;
}
