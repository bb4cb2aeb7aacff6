// Times as the whole page writes them: by the clock of 24 hours, the date as the person's language has it.

const HOURS = { hourCycle: "h23" } as const;

export const clock = (seconds: number): string => new Date(seconds * 1000).toLocaleTimeString(undefined, { ...HOURS, timeStyle: "medium" });
export const moment = (seconds: number): string => new Date(seconds * 1000).toLocaleString(undefined, { ...HOURS, dateStyle: "medium", timeStyle: "medium" });
/** Of a campaign, whose times are set to the minute. */
export const minute = (date: Date): string => date.toLocaleString(undefined, { ...HOURS, dateStyle: "medium", timeStyle: "short" });
