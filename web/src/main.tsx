import { render } from 'preact';
import { App } from './ui/app';
import './ui/style.css';

const root = document.getElementById('page');
if (root !== null) {
  render(<App />, root);
}
